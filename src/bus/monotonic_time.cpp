#include "bus/monotonic_time.h"

#include <cerrno>
#include <system_error>

namespace lumo {

std::int64_t monotonicNanoseconds(clockid_t clock) {
    timespec now{};
    if (clock_gettime(clock, &now) != 0) {
        throw std::system_error(errno, std::generic_category(), "Error getting monotonic time");
    }
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

}  // namespace lumo
