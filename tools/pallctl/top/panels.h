#pragma once

#include <cstddef>
#include <vector>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

// The panels between title bar and table, and the help in place of both. A line may be wider than
// requested. Pure functions.

namespace pallctl::top {

// Both ethernet ports, and the redundant pair.
std::vector<Line> renderPorts(const RenderInput& input);
std::vector<Line> renderPair(const RenderInput& input);

// The voltages with their graphs, in that many columns.
std::vector<Line> renderVoltages(const RenderInput& input, std::size_t columns);

// The keys and their meaning.
std::vector<Line> renderHelp(const RenderInput& input);

}  // namespace pallctl::top
