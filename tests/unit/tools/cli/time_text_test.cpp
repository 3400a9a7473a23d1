#include "cli/time_text.h"

#include <gtest/gtest.h>

#include "bus/local_zone.h"

namespace cli {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

// 2026-11-21T15:04:05Z
const system_clock::time_point kMoment{1795273445s};

TEST(TimeText, IsIsoWithMillisecondsAndZone) {
    const LocalZone zone(kThreeHoursEast);
    EXPECT_EQ(isoTime(kMoment), "2026-11-21T18:04:05.000+03:00");
    EXPECT_EQ(isoTime(kMoment + 7999us), "2026-11-21T18:04:05.007+03:00");
    EXPECT_EQ(isoTime(kMoment - 1us), "2026-11-21T18:04:04.999+03:00");
}

TEST(TimeText, KnowsTheZoneOfTheMoment) {
    const LocalZone zone(kCentralEurope);
    EXPECT_EQ(isoTime(kMoment), "2026-11-21T16:04:05.000+01:00");
    EXPECT_EQ(isoTime(kMoment - 24h * 150), "2026-06-24T17:04:05.000+02:00");
}

TEST(TimeText, HasASignForTheWest) {
    const LocalZone zone(kFiveHoursWest);
    EXPECT_EQ(isoTime(kMoment), "2026-11-21T10:04:05.000-05:00");
}

TEST(TimeText, HasTheTimeOfDayAlone) {
    const LocalZone zone(kUtc);
    EXPECT_EQ(isoTime(kMoment), "2026-11-21T15:04:05.000+00:00");
    EXPECT_EQ(clockTime(kMoment + 250ms), "15:04:05.250");
}

TEST(TimeText, HasTheFormThatAUserChooses) {
    const LocalZone zone(kThreeHoursEast);
    EXPECT_EQ(formatTime(kMoment, TimeForm::clock), "18:04:05.000");
    EXPECT_EQ(formatTime(kMoment, TimeForm::date), "2026-11-21 18:04:05.000");
    EXPECT_EQ(formatTime(kMoment + 8h, TimeForm::date), "2026-11-22 02:04:05.000");
    EXPECT_EQ(formatTime(kMoment, TimeForm::iso), "2026-11-21T18:04:05.000+03:00");
}

}  // namespace
}  // namespace cli
