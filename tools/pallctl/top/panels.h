#pragma once

#include <cstddef>
#include <vector>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

// The blocks between the bar at the top and the table. Each line may be wider than asked for by
// what it has to say at least. Pure functions.

namespace pallctl::top {

// Both ethernet ports, and the redundant pair.
std::vector<Line> portsPanel(const RenderInput& input);
std::vector<Line> pairPanel(const RenderInput& input);

// The voltages with their graphs, in that many columns.
std::vector<Line> voltagesPanel(const RenderInput& input, std::size_t columns);

}  // namespace pallctl::top
