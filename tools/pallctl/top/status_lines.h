#pragma once

#include <cstddef>
#include <optional>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

// The first line of the screen and the last two. Pure functions.

namespace pallctl::top {

// The names of the device, its link, and whether a recording is made.
Line renderTitleBar(const RenderInput& input, std::size_t columns);

struct Footer {
    Line notice;                        // a message, or what to type in the line below
    Line keys;                          // the keys, or the text being typed
    std::optional<std::size_t> cursor;  // its column in `keys` while the user types
};
Footer renderFooter(const RenderInput& input, std::size_t columns);

}  // namespace pallctl::top
