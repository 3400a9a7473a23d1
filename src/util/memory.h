#pragma once

#include <cstddef>

namespace util {

// The memory that the process gets from the system and returns to it. Any thread.

// Memory of more than this many bytes is returned at once after its use.
constexpr std::size_t kLargeUse = std::size_t{64} * 1024;

// From here on large pieces come straight from the system and go straight back, the rest comes from
// one heap for all threads. Left alone, the C library keeps pieces of up to 32 MiB once it has seen
// such a one freed. Call it before the first thread begins.
void keepMemorySmall();

// Returns free memory of the heap to the system.
void returnFreeMemory();

}  // namespace util
