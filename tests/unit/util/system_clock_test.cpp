#include "util/system_clock.h"

#include <time.h>

#include <gtest/gtest.h>

using std::chrono::nanoseconds;
using std::chrono::seconds;

namespace {

nanoseconds readCLibrary() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return seconds(now.tv_sec) + nanoseconds(now.tv_nsec);
}

TEST(SystemClock, IsTheTimeOfDay) {
    const nanoseconds before = readCLibrary();
    const nanoseconds read = util::readSystemClock().time_since_epoch();
    EXPECT_GE(read, before);
    EXPECT_LE(read, readCLibrary());
}

}  // namespace
