#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>

namespace lumo {

// The system clock as it was when the process first asked, carried on by the monotonic clock.
//
// Every timer of the bus counts on it. A frame gets its time of day from the network long after
// start; on the bare system clock that step would stall a heartbeat for as long as the clock went
// back, or run one poll for every period that it went forward.
struct MonotonicWallClock {
    using duration = std::chrono::system_clock::duration;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<MonotonicWallClock>;
    static constexpr bool is_steady = true;

    // Any thread.
    static time_point now() noexcept;
};

// Reads the clock as seconds * 1,000,000,000 + nanoseconds. Any thread.
// Throws std::system_error "Error getting monotonic time" when it cannot be read.
std::int64_t monotonicNanoseconds(clockid_t clock = CLOCK_MONOTONIC);

}  // namespace lumo
