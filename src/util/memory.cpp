#include "util/memory.h"

#include <malloc.h>

namespace util {

void keepMemorySmall() {
    constexpr int kThreshold = 128 * 1024;
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_MMAP_THRESHOLD, kThreshold);
    mallopt(M_TRIM_THRESHOLD, kThreshold);
}

void returnFreeMemory() {
    constexpr std::size_t kLeaveNothing = 0;
    malloc_trim(kLeaveNothing);
}

}  // namespace util
