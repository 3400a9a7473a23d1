#include "pallctl/top/display_text.h"

#include <clocale>

#include <gtest/gtest.h>

namespace pallctl::top {
namespace {

class TextTest : public testing::Test {
  protected:
    TextTest() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
    ~TextTest() override { std::setlocale(LC_CTYPE, "C.UTF-8"); }
};

TEST_F(TextTest, TheLocaleSaysWhatCanBeShown) {
    EXPECT_EQ(detectCharset(), Charset::unicode);
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(detectCharset(), Charset::ascii);
}

TEST_F(TextTest, WhatCommandsATerminalIsNotShown) {
    EXPECT_EQ(showable("a\x1b[2Jb\nc"), "a?[2Jb?c");
    EXPECT_EQ(showable("\xc2\x9b"), "?") << "a control character of two bytes";
    EXPECT_EQ(showable(std::string("\0", 1)), "?");
}

TEST_F(TextTest, BytesThatAreNoCharacterAreMarked) {
    EXPECT_EQ(showable("a\xff\xe6\x9d"), "a???");
    EXPECT_EQ(showable("Stüdio 東"), "Stüdio 東");
}

TEST_F(TextTest, AnotherLocaleShowsItsOwnCharactersOnly) {
    std::setlocale(LC_CTYPE, "C");
    EXPECT_EQ(showable("ü"), "??");
}

TEST_F(TextTest, CountsColumnsNotBytes) {
    EXPECT_EQ(lineWidth("abc"), 3u);
    EXPECT_EQ(lineWidth("ü…"), 2u);
    EXPECT_EQ(lineWidth("東京"), 4u);
    EXPECT_EQ(lineWidth("e\xcc\x81"), 1u) << "a combining accent";
}

TEST_F(TextTest, FillsOrCutsToTheColumn) {
    EXPECT_EQ(fit("abc", 5, Charset::unicode), "abc  ");
    EXPECT_EQ(fit("abc", 3, Charset::unicode), "abc");
    EXPECT_EQ(fit("abcd", 3, Charset::unicode), "ab…");
    EXPECT_EQ(fit("abcd", 3, Charset::ascii), "ab>");
    EXPECT_EQ(fit("abcd", 0, Charset::unicode), "");
}

TEST_F(TextTest, PushesToTheRightWhatFits) {
    EXPECT_EQ(alignRight("東", 4), "  東");
    EXPECT_EQ(alignRight("abcd", 3), "abcd");
}

TEST_F(TextTest, NeverCutsAWideCharacterInTwo) {
    EXPECT_EQ(fit("東京都", 4, Charset::unicode), "東… ");
    EXPECT_EQ(clip("東京", 3), "東");
}

TEST_F(TextTest, TakesTheFirstCharacterWithAllItsBytes) {
    EXPECT_EQ(getFirstCharacter("東京"), "東");
    EXPECT_EQ(getFirstCharacter("ab"), "a");
    EXPECT_EQ(getFirstCharacter("\xff"
                                "a"),
              "\xff");
}

}  // namespace
}  // namespace pallctl::top
