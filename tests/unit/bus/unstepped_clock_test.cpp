#include "bus/unstepped_clock.h"

#include <chrono>

#include <gtest/gtest.h>

using lumo::UnsteppedClock;
using std::chrono::steady_clock;
using std::chrono::system_clock;

TEST(UnsteppedClock, ShowsTheTimeOfDay) {
    const auto difference =
        UnsteppedClock::now().time_since_epoch() - system_clock::now().time_since_epoch();
    EXPECT_LT(std::chrono::abs(difference), std::chrono::minutes(1));
}

// Its distance to the clock that nobody can set never changes, so no step of the time of day shows.
TEST(UnsteppedClock, GoesWithTheMonotonicClock) {
    const auto first = UnsteppedClock::now().time_since_epoch();
    const auto steady = steady_clock::now().time_since_epoch();
    const auto second = UnsteppedClock::now().time_since_epoch();
    const auto ahead = first - steady;
    const auto laterSteady = steady_clock::now().time_since_epoch();
    const auto later = UnsteppedClock::now().time_since_epoch();
    EXPECT_LE(first, second);
    EXPECT_GE(later - laterSteady, ahead);
    EXPECT_LE(later - laterSteady, second - steady + (later - second));
}
