#include "bus/clock.h"

#include <cerrno>
#include <system_error>

#include "util/system_clock.h"

namespace lumo {

MonotonicWallClock::time_point MonotonicWallClock::now() noexcept {
    using std::chrono::steady_clock;
    static const duration ahead =
        util::readSystemClock().time_since_epoch() - steady_clock::now().time_since_epoch();
    return time_point(steady_clock::now().time_since_epoch() + ahead);
}

std::int64_t monotonicNanoseconds(clockid_t clock) {
    timespec now{};
    if (clock_gettime(clock, &now) != 0) {
        throw std::system_error(errno, std::generic_category(), "Error getting monotonic time");
    }
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

}  // namespace lumo
