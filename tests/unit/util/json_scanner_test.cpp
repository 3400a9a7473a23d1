#include "util/json_scanner.h"

#include <gtest/gtest.h>

namespace util {

namespace {

TEST(JSONScanner, TakesCharactersWithSpacesBeforeThem) {
    JSONScanner scanner("[  ]");
    EXPECT_TRUE(scanner.take('['));
    EXPECT_TRUE(scanner.take(']'));
    EXPECT_FALSE(scanner.take(']')) << "nothing is left";
}

TEST(JSONScanner, TakesStringsWithoutEscapes) {
    JSONScanner scanner(R"("GET", "" )");
    std::string_view text;
    EXPECT_TRUE(scanner.takeString(text));
    EXPECT_EQ(text, "GET");
    EXPECT_TRUE(scanner.take(','));
    EXPECT_TRUE(scanner.takeString(text));
    EXPECT_EQ(text, "");
}

TEST(JSONScanner, LeavesOtherStringsToTheLibrary) {
    for (const char* other : {R"("a\"b")", R"("a\u0041")", R"("open)", R"(")", "open\"", "7", ""}) {
        JSONScanner scanner(other);
        std::string_view text;
        EXPECT_FALSE(scanner.takeString(text)) << other;
    }
}

TEST(JSONScanner, TakesIntegersThatFit) {
    JSONScanner scanner("0, -5,2147483647,-2147483648");
    for (const int32_t expected : {0, -5, INT32_MAX, INT32_MIN}) {
        int32_t number = 7;
        EXPECT_TRUE(scanner.takeInteger(number));
        EXPECT_EQ(number, expected);
        scanner.take(',');
    }
}

TEST(JSONScanner, LeavesOtherNumbersToTheLibrary) {
    for (const char* other : {"2147483648", "-2147483649", "+1", "-", "\"8@frame\"", "null", ""}) {
        JSONScanner scanner(other);
        int32_t number = 0;
        EXPECT_FALSE(scanner.takeInteger(number)) << other;
    }
    for (const char* fraction : {"1.5]", "1e3]"}) {
        JSONScanner scanner(fraction);
        int32_t number = 0;
        scanner.takeInteger(number);
        EXPECT_FALSE(scanner.take(']')) << fraction;
    }
}

TEST(JSONScanner, TakesTheExpectedKey) {
    JSONScanner scanner(R"("id" : "1", "param":)");
    std::string_view text;
    EXPECT_TRUE(scanner.takeKey("id"));
    EXPECT_TRUE(scanner.takeString(text));
    EXPECT_TRUE(scanner.take(','));
    EXPECT_FALSE(scanner.takeKey("params"));
    EXPECT_FALSE(JSONScanner(R"("id")").takeKey("id")) << "a string, not a key";
}

}  // namespace

}  // namespace util
