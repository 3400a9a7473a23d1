#include "systemstate/xadc_dump.h"

#include <cmath>

#include <gmock/gmock.h>

#include "xadc_dump_samples.h"

namespace {

using testing::Each;
using testing::ElementsAre;

TEST(XadcDump, SampleIsAWholeDump) {
    EXPECT_EQ(kDump.size(), kXadcDumpSize);
}

TEST(XadcDump, ReadsAllChannelsShiftedToTwelveBits) {
    const auto readings = decodeXadcDump(kDump, BatterySource::channel);
    ASSERT_TRUE(readings.has_value());
    EXPECT_THAT(readings->channels,
                ElementsAre(0x080, 0x180, 0x280, 0x380, 0x480, 0x580, 0x680, 0x780, 0x880, 0x980,
                            0xa80, 0xb80, 0xc80, 0xd80, 0xe80, 0xf80));
}

TEST(XadcDump, ReadsTemperatureAndSupply) {
    const auto readings = decodeXadcDump(kDump, BatterySource::channel);
    ASSERT_TRUE(readings.has_value());
    EXPECT_EQ(readings->temperature, 0xa8f);
    EXPECT_EQ(readings->supply, 0x555);
}

TEST(XadcDump, BatterySourceMovesOnlyChannel13ToByte27) {
    const auto readings = decodeXadcDump(kDump, BatterySource::dedicatedInput);
    ASSERT_TRUE(readings.has_value());
    EXPECT_THAT(readings->channels,
                ElementsAre(0x080, 0x180, 0x280, 0x380, 0x480, 0x580, 0x680, 0x780, 0x880, 0x980,
                            0xa80, 0xb80, 0xc80, 0x123, 0xe80, 0xf80));
}

TEST(XadcDump, FullScaleIs4095) {
    const auto readings = decodeXadcDump(dumpWith(kChannel0At, "ffff"), BatterySource::channel);
    ASSERT_TRUE(readings.has_value());
    EXPECT_EQ(readings->channels[0], 4095);
}

TEST(XadcDump, DigitsMayBeUpperCaseFewerOrBehindBlanks) {
    for (const char* text : {"ABC0", "abc0", " ab0", "  b0", "\tb00"}) {
        EXPECT_TRUE(decodeXadcDump(dumpWith(kChannel0At, text), BatterySource::channel)) << text;
    }
    const auto readings = decodeXadcDump(dumpWith(kChannel0At, " aB0"), BatterySource::channel);
    ASSERT_TRUE(readings.has_value());
    EXPECT_EQ(readings->channels[0], 0x0ab);
}

TEST(XadcDump, ShortDumpGivesNothing) {
    EXPECT_FALSE(decodeXadcDump("", BatterySource::channel));
    EXPECT_FALSE(decodeXadcDump(kDump.substr(0, kXadcDumpSize - 1), BatterySource::channel));
}

struct GarbledCase {
    const char* name;
    std::size_t offset;
    const char* text;
};

class GarbledXadcDump : public testing::TestWithParam<GarbledCase> {};

TEST_P(GarbledXadcDump, GivesNothing) {
    const auto& [name, offset, text] = GetParam();
    EXPECT_FALSE(decodeXadcDump(dumpWith(offset, text), BatterySource::channel));
}

INSTANTIATE_TEST_SUITE_P(
    Registers, GarbledXadcDump,
    testing::Values(GarbledCase{"TemperatureIsAWord", kTemperatureAt, "none"},
                    GarbledCase{"SupplyIsAWord", kSupplyAt, "none"},
                    GarbledCase{"FirstChannelIsAWord", kChannel0At, "none"},
                    GarbledCase{"LastChannelIsAWord", kChannel15At, "none"},
                    GarbledCase{"BlankFieldBeforeTheNextRegister", kChannel0At, "    "},
                    GarbledCase{"LineFeedBeforeTheNextRegister", kChannel0At, "\n\n\n\n"},
                    GarbledCase{"DigitsRunIntoLetters", kChannel0At, "12xy"},
                    GarbledCase{"Negative", kChannel0At, "-123"},
                    GarbledCase{"MoreThanSixteenBits", kChannel0At, "12345 "},
                    GarbledCase{"DigitsWithoutEnd", kChannel0At,
                                "ffffffffffffffffffffffffffffffffffffffffffffffff"},
                    GarbledCase{"PrefixWithoutDigits", kChannel0At, "0x  "}),
    [](const auto& row) { return row.param.name; });

TEST(XadcDump, GarbledDedicatedInputMattersOnlyWhenItIsUsed) {
    const std::string dump = dumpWith(kDedicatedInputAt, "none");
    EXPECT_TRUE(decodeXadcDump(dump, BatterySource::channel));
    EXPECT_FALSE(decodeXadcDump(dump, BatterySource::dedicatedInput));
}

TEST(XadcDump, GarbledChannel13MattersOnlyWhenItIsUsed) {
    const std::string dump = dumpWith(kChannel13At, "none");
    EXPECT_FALSE(decodeXadcDump(dump, BatterySource::channel));
    EXPECT_TRUE(decodeXadcDump(dump, BatterySource::dedicatedInput));
}

TEST(XadcDump, RegisterThatNobodyUsesMayBeGarbled) {
    constexpr std::size_t kRegister5At = 43;
    EXPECT_TRUE(decodeXadcDump(dumpWith(kRegister5At, "none"), BatterySource::channel));
}

TEST(XadcDump, ZeroByteEndsANumber) {
    const auto readings =
        decodeXadcDump(dumpWith(kChannel15At, std::string("8000\0", 5)), BatterySource::channel);
    ASSERT_TRUE(readings.has_value());
    EXPECT_EQ(readings->channels[15], 0x800);
}

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

}  // namespace
