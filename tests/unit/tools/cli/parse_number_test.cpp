#include "cli/parse_number.h"

#include <cmath>
#include <cstdint>

#include <gtest/gtest.h>

namespace cli {

namespace {

TEST(Number, IsTheWholeText) {
    EXPECT_EQ(parseNumber<int>("-12"), -12);
    EXPECT_EQ(parseNumber<double>("2.5"), 2.5);
    for (const char* text : {"", " 1", "1 ", "+1", "1x", "0x1", "one"}) {
        EXPECT_EQ(parseNumber<int>(text), std::nullopt) << text;
        EXPECT_EQ(parseNumber<double>(text), std::nullopt) << text;
    }
}

TEST(Number, FitsItsType) {
    EXPECT_EQ(parseNumber<uint16_t>("65535"), 65535);
    EXPECT_EQ(parseNumber<uint16_t>("65536"), std::nullopt);
    EXPECT_EQ(parseNumber<uint16_t>("-1"), std::nullopt);
}

TEST(Number, LiesWithinItsBounds) {
    EXPECT_EQ(parseNumber("0", 0, 5), 0);
    EXPECT_EQ(parseNumber("5", 0, 5), 5);
    EXPECT_EQ(parseNumber("6", 0, 5), std::nullopt);
    EXPECT_EQ(parseNumber("-1", 0, 5), std::nullopt);
    EXPECT_EQ(parseNumber("nan", -HUGE_VAL, HUGE_VAL), std::nullopt);
}

}  // namespace

}  // namespace cli
