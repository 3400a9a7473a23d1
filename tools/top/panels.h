#pragma once

#include <cstddef>
#include <vector>

#include "top/picture.h"
#include "top/scene.h"

// The blocks between the bar at the top and the table. Each line may be wider than asked for by
// what it has to say at least. Pure functions.

namespace top {

// Both ethernet ports, and the redundant pair.
std::vector<Line> portsPanel(const Scene& scene);
std::vector<Line> pairPanel(const Scene& scene);

// The voltages with their graphs, in that many columns.
std::vector<Line> voltagesPanel(const Scene& scene, std::size_t columns);

}  // namespace top
