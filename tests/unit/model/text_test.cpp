#include "model/text.h"

#include <gtest/gtest.h>

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

}  // namespace
