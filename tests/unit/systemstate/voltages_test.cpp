#include "systemstate/voltages.h"

#include <gtest/gtest.h>

namespace {

TEST(PsuVolts, Sample2048Is14Volts55) {
    EXPECT_DOUBLE_EQ(psuVolts(2048), 14.55);
}

TEST(PsuVolts, Sample0IsNothing) {
    EXPECT_EQ(psuVolts(0), 0.0);
}

TEST(PsuVolts, QuarterScaleIsAQuarterOfTheFactor) {
    EXPECT_DOUBLE_EQ(psuVolts(1024), 7.275);
}

TEST(PsuVolts, SampleIsSigned) {
    EXPECT_DOUBLE_EQ(psuVolts(-2048), -14.55);
}

TEST(BatteryVolts, TessaraFactor) {
    EXPECT_DOUBLE_EQ(batteryVolts(3072, BatteryWiring::tessara), 2.4075);
}

TEST(BatteryVolts, KeliFactor) {
    EXPECT_DOUBLE_EQ(batteryVolts(3072, BatteryWiring::keli), 2.535);
}

TEST(BatteryVolts, OtherCardsHaveAnOffset) {
    // (0.5 + 0.6133) x 2.73448
    EXPECT_DOUBLE_EQ(batteryVolts(2048, BatteryWiring::other), 3.044296584);
}

TEST(BatteryVolts, Raw0OnAnotherCardIsNoBattery) {
    // 0.6133 x 2.73448 = 1.677 V
    EXPECT_EQ(batteryVolts(0, BatteryWiring::other), 0.0);
}

TEST(BatteryVolts, Raw0OnTessaraAndKeliIsNoBattery) {
    EXPECT_EQ(batteryVolts(0, BatteryWiring::tessara), 0.0);
    EXPECT_EQ(batteryVolts(0, BatteryWiring::keli), 0.0);
}

TEST(BatteryVolts, BelowTwoVoltsIsNoBattery) {
    // 2552 / 4096 x 3.21 = 1.99998 V, one step more is 2.00077 V
    EXPECT_EQ(batteryVolts(2552, BatteryWiring::tessara), 0.0);
    EXPECT_DOUBLE_EQ(batteryVolts(2553, BatteryWiring::tessara), 2.000764160156250);
}

}  // namespace
