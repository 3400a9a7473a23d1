#pragma once

#include <chrono>

namespace lumo {

// The system clock as it stood when the process first asked, carried on by the monotonic clock.
//
// Every timer of this room counts on it. A frame gets its time of day from the network long after
// start; on the bare system clock that step would stall a heartbeat for as long as the clock went
// back, or run one poll for every period that it went forward.
struct UnsteppedClock {
    using duration = std::chrono::system_clock::duration;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<UnsteppedClock>;
    static constexpr bool is_steady = true;

    // Any thread.
    static time_point now() noexcept;
};

}  // namespace lumo
