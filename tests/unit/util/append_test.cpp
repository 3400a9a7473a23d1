#include "util/append.h"

#include <limits>

#include <gtest/gtest.h>

namespace util {

namespace {

std::string textOf(int64_t number) {
    return std::string(std::string_view(Digits(number)));
}

TEST(Append, AddsAllPartsInTheirOrder) {
    std::string text = "a";
    append(text, {"bc", "", std::string_view(), "d"});
    EXPECT_EQ(text, "abcd");
    append(text, {});
    EXPECT_EQ(text, "abcd");
}

TEST(Append, KeepsTheRoomThatIsThere) {
    std::string text;
    text.reserve(100);
    const char* const bytes = text.data();
    append(text, {std::string(60, 'x'), "y"});
    EXPECT_EQ(text.data(), bytes);
}

TEST(Digits, AreDecimalWithASign) {
    EXPECT_EQ(textOf(0), "0");
    EXPECT_EQ(textOf(-12), "-12");
    EXPECT_EQ(textOf(std::numeric_limits<int64_t>::min()), "-9223372036854775808");
    EXPECT_EQ(textOf(std::numeric_limits<int64_t>::max()), "9223372036854775807");
}

}  // namespace

}  // namespace util
