#include "util/numbers.h"

#include <cerrno>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

namespace util {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

TEST(SaturatedInteger, TruncatesTowardsZero) {
    EXPECT_EQ(saturatedInt64(-2.9), -2);
    EXPECT_EQ(saturatedInt32(2.9), 2);
    EXPECT_EQ(saturatedInt32(-2.9), -2);
    EXPECT_EQ(saturatedUInt32(2.9), 2U);
    EXPECT_EQ(saturatedUInt32(-0.9), 0U);
}

TEST(SaturatedInteger, KeepsTheEndsOfTheType) {
    EXPECT_EQ(saturatedInt32(2147483647.0), 2147483647);
    EXPECT_EQ(saturatedInt32(-2147483648.0), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(saturatedUInt32(4294967295.0), 4294967295U);
    EXPECT_EQ(saturatedInt64(9223372036854774784.0), 9223372036854774784LL);
    EXPECT_EQ(saturatedInt64(-9223372036854775808.0), std::numeric_limits<int64_t>::min());
}

TEST(SaturatedInteger, KeepsAFractionAboveTheLastWholeNumber) {
    EXPECT_EQ(saturatedInt32(2147483647.5), 2147483647);
    EXPECT_EQ(saturatedInt32(-2147483648.5), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(saturatedUInt32(4294967295.5), 4294967295U);
}

TEST(SaturatedInteger, StopsAtTheEndsOfTheType) {
    EXPECT_EQ(saturatedInt64(9223372036854775808.0), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(saturatedInt64(kInfinity), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(saturatedInt64(-kInfinity), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(saturatedInt32(2147483648.0), 2147483647);
    EXPECT_EQ(saturatedInt32(-1e300), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(saturatedUInt32(4294967296.0), 4294967295U);
    EXPECT_EQ(saturatedUInt32(-1.0), 0U);
}

TEST(SaturatedInteger, GivesZeroForWhatIsNoNumber) {
    EXPECT_EQ(saturatedInt64(kNotANumber), 0);
    EXPECT_EQ(saturatedInt32(kNotANumber), 0);
    EXPECT_EQ(saturatedUInt32(kNotANumber), 0U);
}

TEST(RoundedInteger, RoundsHalvesAwayFromZero) {
    EXPECT_EQ(roundedInt64(2.5), 3);
    EXPECT_EQ(roundedInt64(-2.5), -3);
    EXPECT_EQ(roundedInt64(0.5), 1);
    EXPECT_EQ(roundedInt64(-0.5), -1);
}

TEST(RoundedInteger, GivesTheNearestWholeNumber) {
    EXPECT_EQ(roundedInt64(2.4), 2);
    EXPECT_EQ(roundedInt64(-2.4), -2);
    EXPECT_EQ(roundedInt64(2.6), 3);
    EXPECT_EQ(roundedInt64(-2.6), -3);
    EXPECT_EQ(roundedInt64(0.0), 0);
    EXPECT_EQ(roundedInt64(std::nextafter(0.5, 0.0)), 0);
    EXPECT_EQ(roundedInt64(std::nextafter(-0.5, 0.0)), 0);
}

TEST(RoundedInteger, KeepsWholeNumbersThatHaveNoRoomForAFraction) {
    EXPECT_EQ(roundedInt64(4503599627370495.5), 4503599627370496LL);
    EXPECT_EQ(roundedInt64(4503599627370497.0), 4503599627370497LL);
    EXPECT_EQ(roundedInt64(-9007199254740993.0), -9007199254740992LL);
}

TEST(RoundedInteger, StopsAtTheEndsOfTheType) {
    EXPECT_EQ(roundedInt64(9223372036854775808.0), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(roundedInt64(kInfinity), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(roundedInt64(-1e300), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(roundedInt64(kNotANumber), 0);
}

template <typename Number>
struct Conversion {
    const char* text;
    int base;
    bool result;
    Number out;
};

TEST(ParseLong, GivesResultAndNumberInEveryCase) {
    constexpr int32_t largest = std::numeric_limits<int32_t>::max();
    constexpr int32_t smallest = std::numeric_limits<int32_t>::min();
    constexpr Conversion<int32_t> conversions[] = {
        {"12", 10, true, 12},
        {"12abc", 10, true, 12},
        {" \t-7", 10, true, -7},
        {"+7", 10, true, 7},
        {"ff", 16, true, 255},
        {"0x1F", 0, true, 31},
        {"017", 0, true, 15},
        {"0", 10, true, 0},
        {"", 10, false, 0},
        {"abc", 10, false, 0},
        {"-", 10, false, 0},
        {"2147483647", 10, true, largest},
        {"-2147483648", 10, true, smallest},
        {"2147483648", 10, false, largest},
        {"-2147483649", 10, false, smallest},
        {"4294967295", 10, false, largest},
        {"99999999999999999999999", 10, false, largest},
        {"-99999999999999999999999", 10, false, smallest},
        {"12", 1, false, 0},
    };
    for (const Conversion<int32_t>& expected : conversions) {
        SCOPED_TRACE(expected.text);
        int32_t out = 4711;
        EXPECT_EQ(parseLong(expected.text, out, expected.base), expected.result);
        EXPECT_EQ(out, expected.out);
    }
}

TEST(ParseLong, ReadsDecimalWhenNoBaseIsGiven) {
    int32_t out = 0;
    EXPECT_TRUE(parseLong("010", out));
    EXPECT_EQ(out, 10);
}

TEST(ParseLong, IsNotMisledByAnEarlierError) {
    errno = ERANGE;
    int32_t out = 4711;
    EXPECT_TRUE(parseLong("2147483647", out, 10));
    errno = EINVAL;
    EXPECT_TRUE(parseLong("0", out, 10));
    EXPECT_EQ(out, 0);
}

// The unsigned conversion accepts a minus sign and negates what it read, in 32 bits everywhere.
TEST(ParseULong, GivesResultAndNumberInEveryCase) {
    constexpr uint32_t largest = std::numeric_limits<uint32_t>::max();
    constexpr Conversion<uint32_t> conversions[] = {
        {"12", 10, true, 12},
        {"12abc", 10, true, 12},
        {" \n12", 10, true, 12},
        {"FFFFFFFF", 16, true, largest},
        {"4294967295", 10, true, largest},
        {"-1", 10, true, largest},
        {" \t-2", 10, true, 4294967294U},
        {"-4294967295", 10, true, 1},
        {"-0", 10, true, 0},
        {"", 10, false, 0},
        {"abc", 10, false, 0},
        {" -", 10, false, 0},
        {"4294967296", 10, false, largest},
        {"-4294967296", 10, false, largest},
        {"18446744073709551616", 10, false, largest},
        {"-18446744073709551615", 10, false, largest},
        {"-99999999999999999999999", 10, false, largest},
        {"12", 37, false, 0},
    };
    for (const Conversion<uint32_t>& expected : conversions) {
        SCOPED_TRACE(expected.text);
        uint32_t out = 4711;
        EXPECT_EQ(parseULong(expected.text, out, expected.base), expected.result);
        EXPECT_EQ(out, expected.out);
    }
}

TEST(ParseFloat, ReadsTheNumberAtTheStart) {
    float out = 0;
    EXPECT_TRUE(parseFloat("12.5V", out));
    EXPECT_EQ(out, 12.5F);
    EXPECT_TRUE(parseFloat(" -1e3", out));
    EXPECT_EQ(out, -1000.0F);
    EXPECT_TRUE(parseFloat("0", out));
    EXPECT_EQ(out, 0.0F);
}

TEST(ParseFloat, RefusesATextWithoutNumber) {
    float out = 4711;
    EXPECT_FALSE(parseFloat("volts", out));
    EXPECT_EQ(out, 0.0F);
    out = 4711;
    EXPECT_FALSE(parseFloat("", out));
    EXPECT_EQ(out, 0.0F);
}

TEST(ParseFloat, RefusesANumberAboveTheRangeButNotOneBelowIt) {
    float out = 0;
    EXPECT_FALSE(parseFloat("1e50", out));
    EXPECT_EQ(out, std::numeric_limits<float>::infinity());
    EXPECT_TRUE(parseFloat("-1e50", out));
    EXPECT_EQ(out, -std::numeric_limits<float>::infinity());
}

TEST(ParseFloat, RefusesWhatCannotBeToldFromZero) {
    float out = 4711;
    EXPECT_FALSE(parseFloat("1e-60", out));
    EXPECT_EQ(out, 0.0F);
    out = 4711;
    EXPECT_FALSE(parseFloat("-1e-60", out));
    EXPECT_EQ(out, 0.0F);
}

TEST(ParseFloat, AcceptsWhatIsSmallButNotZero) {
    float out = 0;
    EXPECT_TRUE(parseFloat("1e-40", out));
    EXPECT_GT(out, 0.0F);
    EXPECT_LT(out, std::numeric_limits<float>::min());
}

TEST(ParseFloat, AcceptsTheWordsForInfinityAndNotANumber) {
    float out = 0;
    EXPECT_TRUE(parseFloat("inf", out));
    EXPECT_EQ(out, std::numeric_limits<float>::infinity());
    EXPECT_TRUE(parseFloat("nan", out));
    EXPECT_TRUE(std::isnan(out));
}

}  // namespace

}  // namespace util
