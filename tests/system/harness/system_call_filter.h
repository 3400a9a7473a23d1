#pragma once

#include <linux/filter.h>

#include <span>

namespace harness {

// From here on this thread, and the programs that it starts, run under these steps of a seccomp(2)
// filter. Throws std::system_error.
void filterSystemCalls(std::span<sock_filter> steps);

}  // namespace harness
