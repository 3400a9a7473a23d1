#include "client/restart_detector.h"

#include <gtest/gtest.h>

namespace client {
namespace {

TEST(RestartDetector, TellsAnotherProcess) {
    RestartDetector detector;
    detector.observe("14@30.001122334455");
    EXPECT_TRUE(detector.observeGreeting("4@31.001122334455"));
    EXPECT_TRUE(detector.observeGreeting("40@32.001122334455"));
}

TEST(RestartDetector, TellsTheSameProcessOnANewConnection) {
    RestartDetector detector;
    detector.observe("14@30.001122334455");
    EXPECT_FALSE(detector.observeGreeting("24@30.001122334455"));
    detector.observe("23@30.001122334455");
    EXPECT_FALSE(detector.observeGreeting("25@30.001122334455"));
}

TEST(RestartDetector, TellsAProcessThatHasTheSameNumberByChance) {
    RestartDetector detector;
    detector.observe("14@4.001122334455");
    EXPECT_TRUE(detector.observeGreeting("4@4.001122334455"));
}

TEST(RestartDetector, JudgesByTheNumberWhereNothingIsKnown) {
    EXPECT_TRUE(RestartDetector().observeGreeting("4@30.001122334455"));
    EXPECT_FALSE(RestartDetector().observeGreeting("24@30.001122334455"));
}

TEST(RestartDetector, DoesNotJudgeOtherIds) {
    RestartDetector detector;
    for (const char* id : {"", "n", "4", "@", "x@30.0", "-1@30.0", "4.5@30.0"}) {
        EXPECT_FALSE(detector.observeGreeting(id)) << id;
    }
}

}  // namespace
}  // namespace client
