#pragma once

#include <vector>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

namespace pallctl::top {

// What every key does, in place of panels and table.
std::vector<Line> helpLines(const RenderInput& input);

}  // namespace pallctl::top
