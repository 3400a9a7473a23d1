#pragma once

#include <cstddef>
#include <cstdint>

namespace soak {

// Of one run.
struct Options {
    double minutes = 2;
    double rate = 50;  // requests a second
    uint64_t seed = 0;
    uint64_t growthKiB = 256;  // of anonymous memory between warm-up and end that is no fault
    double idleSeconds = 0;  // not 0: nothing is done to the daemon, and its processor time counts
    size_t clients = 0;      // not 0: so many of them, on the simulated bus
};

}  // namespace soak
