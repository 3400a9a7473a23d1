#pragma once

#include <cstdint>
#include <ctime>

namespace lumo {

// Reads the clock as seconds * 1,000,000,000 + nanoseconds. Any thread.
// Throws std::system_error "Error getting monotonic time" when it cannot be read.
std::int64_t monotonicNanoseconds(clockid_t clock = CLOCK_MONOTONIC);

}  // namespace lumo
