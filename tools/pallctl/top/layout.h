#pragma once

#include <cstddef>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

namespace pallctl::top {

// How many rows of a screen of this size the table has; pages of the table are as long.
std::size_t tableRows(const Size& size);

// What a screen of this size shows, down to one of no size. The row that keys act on is always on
// it as long as the table has a row at all. Pure.
ScreenContent renderScreen(const RenderInput& input, const Size& size);

}  // namespace pallctl::top
