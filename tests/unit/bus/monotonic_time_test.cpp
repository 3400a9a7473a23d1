#include "bus/monotonic_time.h"

#include <cerrno>
#include <ctime>
#include <string>
#include <system_error>

#include <gtest/gtest.h>

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
