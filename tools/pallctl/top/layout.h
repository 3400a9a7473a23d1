#pragma once

#include <cstddef>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

namespace pallctl::top {

// The number of table rows on a screen of this size, which is also the length of a page.
std::size_t countTableRows(const Size& size);

// The content of a screen of this size, which may be 0. The selected row is always visible if the
// table has a row. Pure.
ScreenContent renderScreen(const RenderInput& input, const Size& size);

}  // namespace pallctl::top
