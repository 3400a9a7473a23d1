// pallctl check, with the real daemon and its readings.

#include "harness/deadline.h"
#include "on_pallbus.h"
#include "pallframe/simulation/devices.h"

using harness::Result;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

class PallctlCheck : public OnPallbus {
  protected:
    PallctlCheck() : OnPallbus("Quorane") {}
};

TEST_F(PallctlCheck, FindsADeadSupply) {
    pallframe::simulation::setSupply(frame.tree(), 2, 0);
    start();
    harness::waitUntil(
        [] {
            return pallctl({"check", "battVoltage"}).status == 0;
        },
        "a battery that is good");
    const Result result = pallctl({"check", "battVoltage", "psu2Voltage"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.output,
                MatchesRegex("CRITICAL: psu2Voltage 0.00 V \\(outside 10.8:13.2\\) \\| "
                             "'battVoltage'=3.[0-9]{5};2.5:3.4;2:;; "
                             "'psu2Voltage'=0.00;11.4:12.6;10.8:13.2;;\n"));
}

TEST_F(PallctlCheck, WarnsOfAPortWithoutALink) {
    pallframe::simulation::setCable(frame.tree(), "eth1", false);
    start();
    harness::waitUntil(
        [] {
            return pallctl({"check", "ethPort1Status"}).status == 0;
        },
        "a port that was looked at");
    const Result result = pallctl({"check", "ethPort1Status", "ethPort2Status"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, StartsWith("WARNING: ethPort2Status 0 (outside 1:2) | "));
}

TEST_F(PallctlCheck, IsUnknownWhileTheDaemonIsAway) {
    start();
    stopDaemon();
    const Result result = pallctl({"check", "--timeout=0.1"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "UNKNOWN: system: no answer\n");
}

class PallctlCheckOnBrio : public OnPallbus {};

TEST_F(PallctlCheckOnBrio, IsUnknownForACardThatMeasuresNothing) {
    start();
    const Result result = pallctl({"check"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.output, StartsWith("UNKNOWN: ethPort1Status is not measured, "));
}

}  // namespace
