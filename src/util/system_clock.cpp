#include "util/system_clock.h"

#include <time.h>

namespace util {

std::chrono::system_clock::time_point readSystemClock() noexcept {
    using std::chrono::system_clock;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const auto sinceEpoch =
        std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
    return system_clock::time_point(std::chrono::duration_cast<system_clock::duration>(sinceEpoch));
}

}  // namespace util
