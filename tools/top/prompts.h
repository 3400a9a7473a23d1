#pragma once

#include <cstddef>
#include <optional>

#include "top/picture.h"
#include "top/scene.h"

// The first line of the screen and the last two. Pure functions.

namespace top {

// Who the device is, how it is reached, whether something is recorded.
Line barOf(const Scene& scene, std::size_t columns);

struct Foot {
    Line notice;                        // what happened, or what is expected in the line below
    Line keys;                          // what can be pressed, or what is being typed
    std::optional<std::size_t> cursor;  // its column in `keys`, when something is being typed
};
Foot footOf(const Scene& scene, std::size_t columns);

}  // namespace top
