#include "program/number.h"

#include <cmath>
#include <cstdint>

#include <gtest/gtest.h>

namespace {

TEST(Number, IsTheWholeText) {
    EXPECT_EQ(numberIn<int>("-12"), -12);
    EXPECT_EQ(numberIn<double>("2.5"), 2.5);
    for (const char* text : {"", " 1", "1 ", "+1", "1x", "0x1", "one"}) {
        EXPECT_EQ(numberIn<int>(text), std::nullopt) << text;
        EXPECT_EQ(numberIn<double>(text), std::nullopt) << text;
    }
}

TEST(Number, FitsItsType) {
    EXPECT_EQ(numberIn<uint16_t>("65535"), 65535);
    EXPECT_EQ(numberIn<uint16_t>("65536"), std::nullopt);
    EXPECT_EQ(numberIn<uint16_t>("-1"), std::nullopt);
}

TEST(Number, LiesWithinItsBounds) {
    EXPECT_EQ(numberIn("0", 0, 5), 0);
    EXPECT_EQ(numberIn("5", 0, 5), 5);
    EXPECT_EQ(numberIn("6", 0, 5), std::nullopt);
    EXPECT_EQ(numberIn("-1", 0, 5), std::nullopt);
    EXPECT_EQ(numberIn("nan", -HUGE_VAL, HUGE_VAL), std::nullopt);
}

}  // namespace
