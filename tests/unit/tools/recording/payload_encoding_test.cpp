#include "recording/payload_encoding.h"

#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/seeded_random.h"

namespace {

using namespace std::string_literals;
using recording::fromBase64;
using recording::isLegible;
using recording::quoted;
using recording::toBase64;

TEST(LegibleTest, IsTextWithTabsAndLineEnds) {
    for (const std::string& text : {""s, "[\"GET\", \"system\"]\n{}"s, "\t\r\n ~"s,
                                    "\u00e4\u20ac\U0001f4fa"s, "\xc2\x80"s, "\xf4\x8f\xbf\xbf"s}) {
        EXPECT_TRUE(isLegible(text)) << text;
    }
}

TEST(LegibleTest, IsNoControlCharacter) {
    for (const std::string& text : {"a\0b"s, "\x01"s, "\x1b[31m"s, "\x1f"s, "\x7f"s, "\v"s}) {
        EXPECT_FALSE(isLegible(text)) << toBase64(text);
    }
}

TEST(LegibleTest, IsNoBrokenUTF8) {
    const std::vector<std::string> broken{"\x80",      // a follower without a lead
                                          "\xc3",      // a lead without its follower
                                          "\xe2\x82",  // cut
                                          "\xe2\x82"
                                          "x",                 // a follower missing
                                          "\xc0\xaf",          // "/" in two bytes
                                          "\xe0\x9f\xbf",      // two bytes' worth in three
                                          "\xf0\x8f\xbf\xbf",  // three bytes' worth in four
                                          "\xed\xa0\x80",      // a surrogate
                                          "\xf4\x90\x80\x80",  // beyond the last character
                                          "\xf5\x80\x80\x80",
                                          "\xff"};
    for (const std::string& text : broken) {
        EXPECT_FALSE(isLegible(text)) << toBase64(text);
        EXPECT_FALSE(isLegible("ok " + text + " ok")) << toBase64(text);
    }
}

TEST(QuotedTest, EscapesWhatAJSONStringHasToEscape) {
    EXPECT_EQ(quoted("a\"b\\c\td\ne\rf\u00e4/"), R"("a\"b\\c\td\ne\rf)"
                                                 "\u00e4/\"");
    EXPECT_EQ(quoted(""), "\"\"");
}

// RFC 4648, section 10.
const std::vector<std::pair<std::string, std::string>> kVectors{{"", ""},
                                                                {"f", "Zg=="},
                                                                {"fo", "Zm8="},
                                                                {"foo", "Zm9v"},
                                                                {"foob", "Zm9vYg=="},
                                                                {"fooba", "Zm9vYmE="},
                                                                {"foobar", "Zm9vYmFy"}};

TEST(Base64Test, IsThatOfTheStandard) {
    for (const auto& [bytes, text] : kVectors) {
        EXPECT_EQ(toBase64(bytes), text);
        EXPECT_EQ(fromBase64(text), bytes);
    }
    EXPECT_EQ(toBase64("\xfb\xff\xfe"), "+//+");
}

TEST(Base64Test, RefusesWhatItNeverWrites) {
    for (const char* text :
         {"Zg", "Zg=", "Zg===", "Zh==", "Zm9v=", "Z", "Zm9v\n", "Zm 9v", "Zm-_", "=", "Zg==Zg=="}) {
        EXPECT_EQ(fromBase64(text), std::nullopt) << text;
    }
}

TEST(Base64Test, BringsAnyBytesBack) {
    SeededRandom random;
    std::string all(256, '\0');
    for (size_t i = 0; i < all.size(); ++i) {
        all[i] = static_cast<char>(i);
    }
    for (int round = 0; round < 1000; ++round) {
        const std::string bytes = random.text(50, all);
        ASSERT_EQ(fromBase64(toBase64(bytes)), bytes);
    }
}

}  // namespace
