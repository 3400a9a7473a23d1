#include "util/parse_integer.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace util {

namespace {

constexpr int32_t kBefore = 4711;

int32_t read(const std::string& text) {
    int32_t value = kBefore;
    EXPECT_TRUE(parseWholeInteger(text, value)) << text;
    return value;
}

TEST(WholeInteger, ReadsEveryBasePrefix) {
    EXPECT_EQ(read("250"), 250);
    EXPECT_EQ(read("-12"), -12);
    EXPECT_EQ(read("+7"), 7);
    EXPECT_EQ(read("0x10"), 16);
    EXPECT_EQ(read("0XfF"), 255);
    EXPECT_EQ(read("010"), 8);
    EXPECT_EQ(read("0"), 0);
}

TEST(WholeInteger, ReadsUpToTheEndsOfTheRange) {
    EXPECT_EQ(read("2147483647"), INT32_MAX);
    EXPECT_EQ(read("-2147483648"), INT32_MIN);
}

TEST(WholeInteger, RefusesAnythingElseAndLeavesTheValue) {
    for (const std::string text : {"", " ", "x", "5x", "5 ", "0x", "08", "--5", "1.5", "2147483648",
                                   "-2147483649", "99999999999999999999"}) {
        int32_t value = kBefore;
        EXPECT_FALSE(parseWholeInteger(text, value)) << text;
        EXPECT_EQ(value, kBefore) << text;
    }
}

TEST(WholeInteger, ANulByteIsNoPartOfANumber) {
    int32_t value = kBefore;
    EXPECT_FALSE(parseWholeInteger(std::string("5\0", 2), value));
}

}  // namespace

}  // namespace util
