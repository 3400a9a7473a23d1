#include "bus/scheduled_time.h"

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "local_zone.h"
#include "support/captured_log.h"

namespace {

using namespace lumo;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr time_t kMidnight = 1'799'971'200;        // 2027-01-15T00:00:00 UTC
constexpr time_t kNowSeconds = kMidnight + 28800;  // 08:00:00
constexpr timespec kNow = {kNowSeconds, 500'000'000};
constexpr time_t kDay = 86400;
constexpr time_t kHour = 3600;
constexpr time_t kLastSecond = std::numeric_limits<time_t>::max();

class ScheduledTimeTest : public ::testing::Test {
  protected:
    ~ScheduledTimeTest() override { EXPECT_THAT(log_.lines(), IsEmpty()); }

    ScheduledTime decode(const std::string& text, const timespec& now = kNow) {
        const DecodedTime decoded = decodeScheduledTime(text.c_str(), now);
        if (decoded.fault != TimeFault::none) {
            faults_.push_back(decoded.fault);
        }
        return decoded.time;
    }

    void expectTime(const std::string& text, time_t seconds, int32_t nanoseconds) {
        const ScheduledTime time = decode(text);
        EXPECT_EQ(time.seconds, seconds) << text;
        EXPECT_EQ(time.nanoseconds, nanoseconds) << text;
    }

    void expectUnscheduled(const std::string& text, const timespec& now = kNow) {
        EXPECT_FALSE(decode(text, now).isScheduled()) << text;
    }

    LocalZone zone_{kUtc};
    CapturedLog log_;
    std::vector<TimeFault> faults_;
};

TEST_F(ScheduledTimeTest, AnAbsoluteTimeIsALocalDateAndTime) {
    expectTime("2027-01-15T08:00:10", kNowSeconds + 10, 0);
    const LocalZone east(kThreeHoursEast);
    expectTime("2027-01-15T12:00:00", kNowSeconds + kHour, 0);
}

TEST_F(ScheduledTimeTest, AnAbsoluteTimeMayHaveMilliseconds) {
    expectTime("2027-01-15T08:00:10.250", kNowSeconds + 10, 250'000'000);
}

TEST_F(ScheduledTimeTest, APastAbsoluteTimeIsNotScheduledAndNoFault) {
    expectUnscheduled("2027-01-15T07:59:59.999");
    expectUnscheduled("2001-01-01T00:00:00");
    EXPECT_THAT(faults_, IsEmpty());
}

TEST_F(ScheduledTimeTest, OnlyATimeLaterThanNowIsScheduled) {
    expectUnscheduled("2027-01-15T08:00:00.500");
    expectTime("2027-01-15T08:00:00.501", kNowSeconds, 501'000'000);
    expectUnscheduled("+00:00:00");
    expectTime("+00:00:00.1", kNowSeconds, 501'000'000);
}

TEST_F(ScheduledTimeTest, ATimeOfDayIsToday) {
    expectTime("08:00:01", kNowSeconds + 1, 0);
    expectTime("23:59:59.5", kMidnight + kDay - 1, 5'000'000);
}

TEST_F(ScheduledTimeTest, ATimeOfDayEarlierThanNowIsNotMovedToTomorrow) {
    expectUnscheduled("07:59:59");
    EXPECT_THAT(faults_, IsEmpty());
}

// 02:30 local on the 16th; half an hour later by the clock is a day earlier by the date in UTC.
TEST_F(ScheduledTimeTest, ATimeOfDayIsLocalOnTheDateOfUtcEastOfIt) {
    const LocalZone east(kThreeHoursEast);
    const timespec lateInUtc = {kMidnight + 23 * kHour + kHour / 2, 0};
    expectUnscheduled("03:00:00", lateInUtc);
}

// 21:00 local on the 15th; an hour later by the clock is a day later by the date in UTC.
TEST_F(ScheduledTimeTest, ATimeOfDayIsLocalOnTheDateOfUtcWestOfIt) {
    const LocalZone west(kFiveHoursWest);
    const timespec earlyInUtc = {kMidnight + kDay + 2 * kHour, 0};
    EXPECT_EQ(decode("22:00:00", earlyInUtc).seconds, earlyInUtc.tv_sec + 25 * kHour);
}

TEST_F(ScheduledTimeTest, ARelativeTimeCountsFromNow) {
    expectTime("+01:02:03", kNowSeconds + 3723, 500'000'000);
    expectTime("+00:00:05.250", kNowSeconds + 5, 750'000'000);
}

TEST_F(ScheduledTimeTest, FiveAndAHalfSecondsFromNow) {
    expectTime("+00:00:05.500", kNowSeconds + 6, 0);
    EXPECT_THAT(faults_, IsEmpty());
}

TEST_F(ScheduledTimeTest, UnreadableMillisecondsAreAFaultAndCountAsNone) {
    for (const std::string milliseconds : {"5x", "", "x", "1.5", "2147483648", "99999999999"}) {
        expectTime("+00:00:05." + milliseconds, kNowSeconds + 5, 500'000'000);
        EXPECT_THAT(std::exchange(faults_, {}), ElementsAre(TimeFault::milliseconds))
            << milliseconds;
    }
}

TEST_F(ScheduledTimeTest, MillisecondsAreReadInTheBaseOfTheirPrefix) {
    expectTime("2027-01-15T08:00:10.0x10", kNowSeconds + 10, 16'000'000);
    expectTime("2027-01-15T08:00:10.010", kNowSeconds + 10, 8'000'000);
}

TEST_F(ScheduledTimeTest, MillisecondsCarryAsOftenAsNeeded) {
    expectTime("+00:00:00.3500", kNowSeconds + 4, 0);
    expectTime("+00:00:00.2147483647", kNowSeconds + 2'147'484, 147'000'000);
}

TEST_F(ScheduledTimeTest, NegativeMillisecondsBorrowAsOftenAsNeeded) {
    expectTime("+00:00:05.-600", kNowSeconds + 4, 900'000'000);
    expectTime("+00:00:05.-3500", kNowSeconds + 2, 0);
    expectUnscheduled("+00:00:00.-1");
    expectUnscheduled("+00:00:00.-2147483648");
}

TEST_F(ScheduledTimeTest, AnUnreadableRelativeTimeIsAFault) {
    for (const std::string text : {"+", "+x", "+5", "+00:00", "++00:00:05", "+25:00:00"}) {
        expectUnscheduled(text);
        EXPECT_THAT(std::exchange(faults_, {}), ElementsAre(TimeFault::delay)) << text;
    }
}

TEST_F(ScheduledTimeTest, AnyOtherTextIsNotScheduledAndNoFault) {
    for (const std::string text : {"", "0", "datehere", "never", "-00:00:05", ".500", "2027-01-16",
                                   "12:00", "2027-01-16T", "99999-01-01T00:00:00"}) {
        expectUnscheduled(text);
    }
    EXPECT_THAT(faults_, IsEmpty());
}

TEST_F(ScheduledTimeTest, WhatFollowsTheSecondsWithoutADotIsIgnored) {
    expectTime("08:00:01 or so", kNowSeconds + 1, 0);
    expectTime("08:00:01,5", kNowSeconds + 1, 0);
    expectTime("2027-01-15T08:00:10Z", kNowSeconds + 10, 0);
    expectTime("+00:00:05#", kNowSeconds + 5, 500'000'000);
    EXPECT_THAT(faults_, IsEmpty());
}

TEST_F(ScheduledTimeTest, SummerDatesAreReadInSummerTime) {
    const LocalZone europe(kCentralEurope);
    constexpr time_t kFirstOfJuly = kMidnight + 167 * kDay;
    expectTime("2027-07-01T12:00:00", kFirstOfJuly + 10 * kHour, 0);
    constexpr time_t kFirstOfDecember = kMidnight + 320 * kDay;
    expectTime("2027-12-01T12:00:00", kFirstOfDecember + 11 * kHour, 0);
}

// Half an hour into the one that is skipped, and either half past two of the one that comes twice.
TEST_F(ScheduledTimeTest, AnHourThatTheClocksSkipOrRepeatIsReadAsOneOfItsTwoMoments) {
    const LocalZone europe(kCentralEurope);
    constexpr time_t kSpringChange = kMidnight + 72 * kDay;   // 28 March
    constexpr time_t kAutumnChange = kMidnight + 289 * kDay;  // 31 October
    EXPECT_THAT(decode("2027-03-28T02:30:00", kNow).seconds,
                AnyOf(kSpringChange + kHour / 2, kSpringChange + 3 * kHour / 2));
    EXPECT_THAT(decode("2027-10-31T02:30:00", kNow).seconds,
                AnyOf(kAutumnChange + kHour / 2, kAutumnChange + 3 * kHour / 2));
}

// The date comes from UTC, which knows no summer time, and so does the clock.
TEST_F(ScheduledTimeTest, ATimeOfDayIsReadInWinterTimeAlsoInSummer) {
    const LocalZone europe(kCentralEurope);
    constexpr time_t kSummerMorning = kMidnight + 167 * kDay + 6 * kHour;
    EXPECT_EQ(decode("12:00:00", {kSummerMorning, 0}).seconds, kSummerMorning + 5 * kHour);
}

TEST_F(ScheduledTimeTest, NothingIsScheduledBeyondTheLastSecond) {
    expectUnscheduled("+00:00:05", {kLastSecond - 4, 0});
    expectUnscheduled("+00:00:00.999", {kLastSecond, 500'000'000});
    EXPECT_EQ(decode("+00:00:05", {kLastSecond - 5, 0}).seconds, kLastSecond);
}

TEST_F(ScheduledTimeTest, AClockWhoseYearDoesNotFitHasNoTimeOfDay) {
    expectUnscheduled("23:59:59", {kLastSecond, 0});
    expectUnscheduled("23:59:59", {std::numeric_limits<time_t>::min(), 0});
}

TEST_F(ScheduledTimeTest, ComparesSecondsThenNanosecondsBothSigned) {
    EXPECT_EQ(compareTimes({1, 2}, {1, 2}), 0);
    EXPECT_EQ(compareTimes({1, 999}, {2, 0}), -1);
    EXPECT_EQ(compareTimes({2, 0}, {1, 999}), 1);
    EXPECT_EQ(compareTimes({1, 1}, {1, 2}), -1);
    EXPECT_EQ(compareTimes({1, 2}, {1, 1}), 1);
    EXPECT_EQ(compareTimes({-1, 0}, {1, 0}), -1);
    EXPECT_EQ(compareTimes({1, -1}, {1, 0}), -1);
}

TEST_F(ScheduledTimeTest, EitherFieldMakesATimeScheduled) {
    EXPECT_FALSE((ScheduledTime{0, 0}.isScheduled()));
    EXPECT_TRUE((ScheduledTime{1, 0}.isScheduled()));
    EXPECT_TRUE((ScheduledTime{0, 1}.isScheduled()));
    EXPECT_TRUE((ScheduledTime{-1, 0}.isScheduled()));
}

TEST_F(ScheduledTimeTest, ItsTextIsLocalTimeWithMilliseconds) {
    constexpr time_t kElevenThirty = kMidnight - 61 * kDay + 11 * kHour + kHour / 2;
    EXPECT_EQ(formatScheduledTime({kElevenThirty, 250'999'999}), "2026-11-15T11:30:00.250");
    EXPECT_EQ(formatScheduledTime({kElevenThirty, 5'000'000}), "2026-11-15T11:30:00.005");
    const LocalZone east(kThreeHoursEast);
    EXPECT_EQ(formatScheduledTime({kElevenThirty, 0}), "2026-11-15T14:30:00.000");
}

TEST_F(ScheduledTimeTest, TheTextOfNoTimeIsEmpty) {
    EXPECT_EQ(formatScheduledTime({0, 0}), "");
}

TEST_F(ScheduledTimeTest, TheTextOfAYearThatDoesNotFitIsEmpty) {
    EXPECT_EQ(formatScheduledTime({kLastSecond, 0}), "");
}

TEST_F(ScheduledTimeTest, TheMachinesClockIsRealTime) {
    const time_t before = time(nullptr);
    const timespec now = currentTime();
    EXPECT_GE(now.tv_sec, before);
    EXPECT_LE(now.tv_sec, time(nullptr));
}

}  // namespace
