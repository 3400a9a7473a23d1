#pragma once

#include <cstddef>

#include <cjson/cJSON.h>

namespace util {

// How many bytes an item takes without any white space, between two bounds: a number that is not a
// 32 bit integer is measured roughly, everything else exactly.
struct RenderedSize {
    std::size_t least = 0;
    std::size_t most = 0;
};

// Zeros for a null item. Takes no memory.
RenderedSize renderedSize(const cJSON* item);

}  // namespace util
