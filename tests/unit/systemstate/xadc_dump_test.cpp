#include "systemstate/xadc_dump.h"

#include <optional>
#include <string>

#include <gmock/gmock.h>

#include "xadc_dump_samples.h"

namespace systemstate {

namespace {

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

struct TextCase {
    const char* name;
    std::string text;
    std::optional<std::int32_t> reading;
};

class RegisterText : public testing::TestWithParam<TextCase> {};

// strtol(3) with base 16, then a shift by four bits, which rounds down.
TEST_P(RegisterText, IsConvertedAsStrtolDoes) {
    const auto readings = decodeXadcDump(dumpWith(kChannel0At, registerText(GetParam().text)),
                                         BatterySource::channel);
    ASSERT_EQ(readings.has_value(), GetParam().reading.has_value());
    if (readings) {
        EXPECT_EQ(readings->channels[0], GetParam().reading);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Dump, RegisterText,
    testing::Values(
        TextCase{"FourDigits", "ab10", 0xab1}, TextCase{"UpperCase", "AB10", 0xab1},
        TextCase{"TwoDigits", "1a", 1}, TextCase{"BehindABlank", " 1a", 1},
        TextCase{"BehindATab", "\t1a0", 0x1a}, TextCase{"BehindALineFeed", "\n1a0", 0x1a},
        TextCase{"PlusSign", "+1A", 1}, TextCase{"PlusSignAndThreeDigits", "+1A0", 0x1a},
        TextCase{"MinusOne", "-1", -1}, TextCase{"MinusSignAndThreeDigits", "-1a0", -0x1a},
        TextCase{"LowestNumber", "-ffff", -0x1000}, TextCase{"Prefix", "0x1a", 1},
        TextCase{"PrefixInUpperCase", "0X1a0", 0x1a}, TextCase{"BlankSignPrefix", " -0x2", -1},
        TextCase{"LettersBehindTheDigits", "1ag", 1},
        TextCase{"LettersBehindMoreDigits", "1a0zz", 0x1a},
        TextCase{"ZeroByteBehindTheDigits", std::string("1a\0ff", 5), 1},
        TextCase{"PrefixWithoutDigitsIsItsZero", "0x", 0},
        TextCase{"PrefixBeforeLettersIsItsZero", "0xzz", 0},
        TextCase{"FiveDigitsEndBeforeTheNextRegister", "1a0f5", 0x1a0f},
        TextCase{"HighestNumber", "fffff", 0xffff}, TextCase{"Empty", "", {}},
        TextCase{"TwoBlanks", "  ", {}}, TextCase{"FiveBlanksBeforeTheNextRegister", "     ", {}},
        TextCase{"SignBeforeTheNextRegister", "    -", {}}, TextCase{"Letters", "zz", {}},
        TextCase{"SignWithoutDigits", "-zz", {}}, TextCase{"BlankBehindTheSign", "- 1a", {}},
        TextCase{"ZeroByte",
                 std::string("\0"
                             "1a0f",
                             5),
                 {}}),
    [](const auto& row) { return row.param.name; });

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

INSTANTIATE_TEST_SUITE_P(Registers, GarbledXadcDump,
                         testing::Values(GarbledCase{"TemperatureIsAWord", kTemperatureAt, "none"},
                                         GarbledCase{"SupplyIsAWord", kSupplyAt, "none"},
                                         GarbledCase{"FirstChannelIsAWord", kChannel0At, "none"},
                                         GarbledCase{"LastChannelIsAWord", kChannel15At, "none"}),
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

TEST(XadcDump, LastRegisterInUseEndsBeforeTheNextOne) {
    const auto readings = decodeXadcDump(dumpWith(kChannel15At, "80001"), BatterySource::channel);
    ASSERT_TRUE(readings.has_value());
    EXPECT_EQ(readings->channels[15], 0x8000);
}

}  // namespace

}  // namespace systemstate
