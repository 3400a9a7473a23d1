#pragma once

#include <cstddef>
#include <optional>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

// The first line of the screen and the last two. Pure functions.

namespace pallctl::top {

// Who the device is, how it is reached, whether something is recorded.
Line renderTitleBar(const RenderInput& input, std::size_t columns);

struct Footer {
    Line notice;                        // what happened, or what is expected in the line below
    Line keys;                          // what can be pressed, or what is being typed
    std::optional<std::size_t> cursor;  // its column in `keys`, when something is being typed
};
Footer renderFooter(const RenderInput& input, std::size_t columns);

}  // namespace pallctl::top
