#include "util/text.h"

#include <gtest/gtest.h>

namespace util {

namespace {

TEST(StripQuotes, TakesOneQuoteFromEachEnd) {
    EXPECT_EQ(stripQuotes("'abc'"), "abc");
    EXPECT_EQ(stripQuotes("''abc''"), "'abc'");
}

TEST(StripQuotes, TakesEachEndOnItsOwn) {
    EXPECT_EQ(stripQuotes("'abc"), "abc");
    EXPECT_EQ(stripQuotes("abc'"), "abc");
}

TEST(StripQuotes, OfASingleQuoteGivesTheEmptyText) {
    EXPECT_EQ(stripQuotes("'"), "");
}

TEST(StripQuotes, OfTwoQuotesGivesTheEmptyText) {
    EXPECT_EQ(stripQuotes("''"), "");
}

TEST(StripQuotes, LeavesAnEmptyTextEmpty) {
    EXPECT_EQ(stripQuotes(""), "");
}

TEST(StripQuotes, LeavesWhatIsNoSingleQuoteAtAnEnd) {
    EXPECT_EQ(stripQuotes("\"abc\""), "\"abc\"");
    EXPECT_EQ(stripQuotes("a'b'c"), "a'b'c");
    EXPECT_EQ(stripQuotes(" 'abc' "), " 'abc' ");
}

TEST(TakeLine, CutsOneLineAfterTheOther) {
    std::string_view text = "one\n\nlast";
    EXPECT_EQ(takeLine(text), "one");
    EXPECT_EQ(takeLine(text), "");
    EXPECT_EQ(text, "last");
    EXPECT_EQ(takeLine(text), "last");
    EXPECT_TRUE(text.empty());
}

TEST(TakeLine, LeavesNothingBehindTheLastLineFeed) {
    std::string_view text = "one\n";
    EXPECT_EQ(takeLine(text), "one");
    EXPECT_TRUE(text.empty());
}

TEST(TrimLeft, ErasesEveryKindOfLeadingWhiteSpace) {
    std::string text = " \t\n\v\f\rabc \t";
    EXPECT_EQ(trimLeft(text), "abc \t");
}

TEST(TrimLeft, ChangesTheTextInPlaceAndGivesTheSameText) {
    std::string text = "  abc";
    EXPECT_EQ(&trimLeft(text), &text);
    EXPECT_EQ(text, "abc");
}

TEST(TrimLeft, OfWhiteSpaceOnlyGivesTheEmptyText) {
    std::string text = " \t\r\n";
    EXPECT_EQ(trimLeft(text), "");
}

TEST(TrimLeft, LeavesOtherControlCharactersAndTheEmptyText) {
    std::string bell = "\a b";
    EXPECT_EQ(trimLeft(bell), "\a b");
    std::string empty;
    EXPECT_EQ(trimLeft(empty), "");
}

TEST(ShownPayload, LeavesPlainTextAsItIs) {
    EXPECT_EQ(shownPayload("[\"GET\"] {\"a\": 1} \\x1b \xc3\xa9"),
              "[\"GET\"] {\"a\": 1} \\x1b \xc3\xa9");
    EXPECT_EQ(shownPayload(""), "");
}

TEST(ShownPayload, ShowsControlCharactersAsEscapes) {
    EXPECT_EQ(shownPayload("\x1b[J\r\n\t\x7f"), "\\x1b[J\\x0d\\x0a\\x09\\x7f");
    EXPECT_EQ(shownPayload(std::string_view("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(shownPayload("\xc2\x9b\xc2\xa0"), "\\xc2\\x9b\xc2\xa0");
}

TEST(ShownPayload, KeepsLineFeedsWhereTheyAreWanted) {
    EXPECT_EQ(shownPayload("a\n\tb\n", LineFeeds::kept), "a\n\\x09b\n");
}

TEST(ShownPayload, IsCutAfterOneKiBWithItsFullLength) {
    const std::string most(1024, 'x');
    EXPECT_EQ(shownPayload(most), most);
    EXPECT_EQ(shownPayload(most + "y"), most + "... (1025 bytes)");
    EXPECT_EQ(shownPayload(std::string(20'000'000, 'x')), most + "... (20000000 bytes)");
}

}  // namespace

}  // namespace util
