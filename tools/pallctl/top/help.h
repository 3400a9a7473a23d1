#pragma once

#include <vector>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

namespace pallctl::top {

// The keys and their meaning, in place of panels and table.
std::vector<Line> renderHelp(const RenderInput& input);

}  // namespace pallctl::top
