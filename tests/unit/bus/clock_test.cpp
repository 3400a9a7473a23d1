#include "bus/clock.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

using lumo::MonotonicWallClock;
using std::chrono::steady_clock;
using std::chrono::system_clock;

TEST(MonotonicWallClock, ShowsTheTimeOfDay) {
    const auto difference =
        MonotonicWallClock::now().time_since_epoch() - system_clock::now().time_since_epoch();
    EXPECT_LT(std::chrono::abs(difference), std::chrono::minutes(1));
}

// Its distance to the clock that nobody can set never changes, so no step of the time of day shows.
TEST(MonotonicWallClock, GoesWithTheMonotonicClock) {
    const auto first = MonotonicWallClock::now().time_since_epoch();
    const auto steady = steady_clock::now().time_since_epoch();
    const auto second = MonotonicWallClock::now().time_since_epoch();
    const auto ahead = first - steady;
    const auto laterSteady = steady_clock::now().time_since_epoch();
    const auto later = MonotonicWallClock::now().time_since_epoch();
    EXPECT_LE(first, second);
    EXPECT_GE(later - laterSteady, ahead);
    EXPECT_LE(later - laterSteady, second - steady + (later - second));
}

TEST(MonotonicTime, IsTheMonotonicClockInNanoseconds) {
    timespec before{};
    timespec after{};
    ASSERT_EQ(::clock_gettime(CLOCK_MONOTONIC, &before), 0);
    const std::int64_t now = lumo::monotonicNanoseconds();
    ASSERT_EQ(::clock_gettime(CLOCK_MONOTONIC, &after), 0);
    EXPECT_GE(now, before.tv_sec * 1'000'000'000LL + before.tv_nsec);
    EXPECT_LE(now, after.tv_sec * 1'000'000'000LL + after.tv_nsec);
}

TEST(MonotonicTime, ThrowsWhenTheClockCannotBeRead) {
    constexpr clockid_t kNoSuchClock = 99;
    try {
        lumo::monotonicNanoseconds(kNoSuchClock);
        FAIL() << "read a clock that does not exist";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), EINVAL);
        EXPECT_EQ(std::string(error.what()).rfind("Error getting monotonic time", 0), 0u)
            << error.what();
    }
}
