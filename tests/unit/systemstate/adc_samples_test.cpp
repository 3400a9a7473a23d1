#include "systemstate/adc_samples.h"

#include <cmath>

#include <gmock/gmock.h>

namespace systemstate {

namespace {

using testing::Each;

XadcReadings allChannels(std::int32_t reading) {
    XadcReadings readings{.temperature = 2575, .supply = 1366};
    readings.channels.fill(reading);
    return readings;
}

AdcSamples allSamples(std::int32_t sample) {
    AdcSamples samples;
    samples.channels.fill(sample);
    return samples;
}

TEST(AdcFilter, FirstReadTakesReadingsAsTheyAre) {
    const AdcSamples next = filterReadings(allSamples(4000), allChannels(100), Filtering::first);
    EXPECT_THAT(next.channels, Each(100));
}

TEST(AdcFilter, LaterReadsWeighThePreviousSampleThreeToOne) {
    const AdcSamples next =
        filterReadings(allSamples(1000), allChannels(2000), Filtering::smoothed);
    EXPECT_EQ(next.channels[0], 1250);
    EXPECT_EQ(next.channels[8], 1250);
    EXPECT_EQ(next.channels[15], 1250);
}

TEST(AdcFilter, Channel13IsNeverSmoothed) {
    const AdcSamples next =
        filterReadings(allSamples(1000), allChannels(2000), Filtering::smoothed);
    EXPECT_EQ(next.channels[13], 2000);
    EXPECT_EQ(next.channels[12], 1250);
    EXPECT_EQ(next.channels[14], 1250);
}

TEST(AdcFilter, DividesWithTruncation) {
    // (3 x 2 + 1) / 4 = 1.75 and (3 x 1 + 0) / 4 = 0.75
    EXPECT_EQ(filterReadings(allSamples(2), allChannels(1), Filtering::smoothed).channels[0], 1);
    EXPECT_EQ(filterReadings(allSamples(1), allChannels(0), Filtering::smoothed).channels[0], 0);
}

TEST(AdcFilter, TruncatesTowardZeroBelowZero) {
    // (3 x -3 + 2) / 4 = -1.75
    EXPECT_EQ(filterReadings(allSamples(-3), allChannels(2), Filtering::smoothed).channels[0], -1);
}

TEST(AdcFilter, LargestSamplesDoNotOverflow) {
    const AdcSamples next =
        filterReadings(allSamples(2147483647), allChannels(2147483647), Filtering::smoothed);
    EXPECT_EQ(next.channels[0], 2147483647);
}

TEST(AdcFilter, SupplyScaleIs1366OverTheReading) {
    XadcReadings readings = allChannels(0);
    readings.supply = 1366;
    EXPECT_EQ(filterReadings({}, readings, Filtering::first).supplyScale, 1.0F);
    readings.supply = 683;
    EXPECT_EQ(filterReadings({}, readings, Filtering::first).supplyScale, 2.0F);
}

TEST(AdcFilter, SupplyReadingOfZeroIsInfinity) {
    XadcReadings readings = allChannels(0);
    readings.supply = 0;
    const AdcSamples next = filterReadings({}, readings, Filtering::first);
    EXPECT_TRUE(std::isinf(next.supplyScale));
    EXPECT_GT(next.supplyScale, 0.0F);
}

TEST(AdcFilter, SupplyScaleAndTemperatureAreNotSmoothed) {
    AdcSamples previous = allSamples(0);
    previous.temperature = -200;
    previous.supplyScale = 100.0F;
    const AdcSamples next = filterReadings(previous, allChannels(0), Filtering::smoothed);
    EXPECT_EQ(next.temperature, 44);
    EXPECT_EQ(next.supplyScale, 1.0F);
}

struct TemperatureCase {
    const char* name;
    std::int32_t reading;
    std::int32_t degrees;
};

class DieTemperature : public testing::TestWithParam<TemperatureCase> {};

TEST_P(DieTemperature, InWholeDegrees) {
    EXPECT_EQ(dieTemperature(GetParam().reading), GetParam().degrees);
}

// reading x 503975 / 4096 in thousandths, less 272650:
// 2575: 316829 - 272650 = 44179    2216: 272658 - 272650 = 8       2208: 271674 - 272650 = -976
// 2200: 270689 - 272650 = -1961    4095: 503851 - 272650 = 231201
INSTANTIATE_TEST_SUITE_P(
    Readings, DieTemperature,
    testing::Values(TemperatureCase{"Warm", 2575, 44}, TemperatureCase{"JustAboveZero", 2216, 0},
                    TemperatureCase{"JustBelowZeroTruncatesTowardZero", 2208, 0},
                    TemperatureCase{"BelowMinusOne", 2200, -1}, TemperatureCase{"Lowest", 0, -272},
                    TemperatureCase{"Highest", 4095, 231}),
    [](const auto& row) { return row.param.name; });

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

}  // namespace systemstate
