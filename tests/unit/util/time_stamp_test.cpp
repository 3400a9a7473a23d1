#include "util/time_stamp.h"

#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace util {

namespace {

// Local time as the test says, and as it was before at the end.
class TimeZone {
  public:
    explicit TimeZone(const char* zone) {
        const char* before = std::getenv("TZ");
        known_ = before != nullptr;
        before_ = known_ ? before : "";
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        known_ ? setenv("TZ", before_.c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

  private:
    bool known_ = false;
    std::string before_;
};

constexpr timeval at(time_t seconds, suseconds_t microseconds) {
    return {seconds, microseconds};
}

TEST(SecondsStamp, HasThreeDigitsOfTheSecondsAndTheMicroseconds) {
    EXPECT_EQ(secondsStamp(at(1'700'000'123, 45)), "123.000045\t");
    EXPECT_EQ(secondsStamp(at(1'700'000'427, 318)), "427.000318\t");
    EXPECT_EQ(secondsStamp(at(1'700'000'007, 999'999)), "007.999999\t");
    EXPECT_EQ(secondsStamp(at(1'700'000'000, 0)), "000.000000\t");
}

TEST(TimeStamp, HasTheTimeOfDayAndWholeMilliseconds) {
    const TimeZone zone("UTC0");
    EXPECT_EQ(timeStamp(at(0, 0)), "00:00:00.000\t");
    EXPECT_EQ(timeStamp(at(14 * 3600 + 3 * 60 + 7, 52'999)), "14:03:07.052\t");
    EXPECT_EQ(timeStamp(at(86'399, 999'999)), "23:59:59.999\t");
}

TEST(TimeStamp, IsInLocalTime) {
    const TimeZone zone("EAST-2");
    EXPECT_EQ(timeStamp(at(0, 1000)), "02:00:00.001\t");
}

TEST(TimeStamp, SurvivesAMomentBeyondEveryCalendar) {
    const TimeZone zone("UTC0");
    const timeval moment = at(std::numeric_limits<time_t>::max(), 0);
    EXPECT_THAT(timeStamp(moment), testing::MatchesRegex("[0-9]{2}:[0-9]{2}:[0-9]{2}\\.000\t"));
}

TEST(PrintTimeStamp, WritesOneStampToStandardOutput) {
    testing::internal::CaptureStdout();
    printTimeStamp();
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::MatchesRegex("[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}\t"));
}

TEST(PrintTimeStamp, TellsThePresent) {
    const TimeZone zone("UTC0");
    const time_t before = std::time(nullptr);
    testing::internal::CaptureStdout();
    printTimeStamp();
    const std::string stamp = testing::internal::GetCapturedStdout();
    const time_t after = std::time(nullptr);
    bool found = false;
    // The coarse clock of time() may lag behind the one of the stamp by a tick.
    for (time_t second = before; second <= after + 1; ++second) {
        found = found || timeStamp(at(second, 0)).substr(0, 8) == stamp.substr(0, 8);
    }
    EXPECT_TRUE(found) << stamp;
}

TEST(PrintSecondsStamp, WritesOneStampToStandardOutput) {
    testing::internal::CaptureStdout();
    printSecondsStamp();
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::MatchesRegex("[0-9]{3}\\.[0-9]{6}\t"));
}

}  // namespace

}  // namespace util
