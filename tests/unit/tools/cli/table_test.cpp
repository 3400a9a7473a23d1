#include "cli/table.h"

#include <gtest/gtest.h>

namespace cli {
namespace {

TEST(Table, AlignsEveryColumnToItsWidestCell) {
    Table table({"NAME", "VALUE", "TYPE"});
    table.add({"system.a", "1", "INT32"});
    table.add({"b", "10.1.2.3", "STRING"});
    EXPECT_EQ(table.text(),
              "NAME      VALUE     TYPE\n"
              "system.a  1         INT32\n"
              "b         10.1.2.3  STRING\n");
}

TEST(Table, CountsCharactersNotBytes) {
    Table table({"A", "B"});
    table.add({"Zürich", "x"});
    table.add({"Zurich", "y"});
    EXPECT_EQ(table.text(),
              "A       B\n"
              "Zürich  x\n"
              "Zurich  y\n");
}

TEST(Table, LeavesNothingBehindTheLastCell) {
    Table table({"A", "B"});
    table.add({"long", ""});
    EXPECT_EQ(table.text(), "A     B\nlong\n");
}

TEST(Table, FillsAShortRow) {
    Table table({"A", "B"});
    table.add({"x"});
    EXPECT_EQ(table.text(), "A  B\nx\n");
}

TEST(Table, IsAsWideInColour) {
    Table table({"A", "B"});
    table.add({{"long", Paint::faint}, "x"});
    table.add({"y", {"z", Paint::bold}});
    EXPECT_EQ(table.text(true),
              "\x1b[1mA\x1b[0m     \x1b[1mB\x1b[0m\n"
              "\x1b[2mlong\x1b[0m  x\n"
              "y     \x1b[1mz\x1b[0m\n");
    EXPECT_EQ(table.text(), "A     B\nlong  x\ny     z\n");
}

Table frameTable() {
    Table table({"NAME", {"VALUE", 8}, {"TYPE", 0, 2}, {"READ-ONLY", 0, 1}});
    table.add({{"system.address", "address"}, "10.0.0.5", "INT32", "no"});
    table.add({{"system.serial", "serial"}, "name=COM1, dev=/dev/ttyS2", "STRUCT", "yes"});
    return table;
}

TEST(TableWidth, IsThatOfTheTextsWhereTheyFit) {
    EXPECT_EQ(frameTable().text(false, 60), frameTable().text());
    EXPECT_EQ(frameTable().text(),
              "NAME            VALUE                      TYPE    READ-ONLY\n"
              "system.address  10.0.0.5                   INT32   no\n"
              "system.serial   name=COM1, dev=/dev/ttyS2  STRUCT  yes\n");
}

TEST(TableWidth, CutsTextsDownToAReadableWidthFirst) {
    EXPECT_EQ(frameTable().text(false, 43),
              "NAME            VALUE     TYPE    READ-ONLY\n"
              "system.address  10.0.0.5  INT32   no\n"
              "system.serial   name=CO\u2026  STRUCT  yes\n");
}

TEST(TableWidth, ThenTakesShortForms) {
    EXPECT_EQ(frameTable().text(false, 42),
              "NAME     VALUE           TYPE    READ-ONLY\n"
              "address  10.0.0.5        INT32   no\n"
              "serial   name=COM1, de\u2026  STRUCT  yes\n");
}

TEST(TableWidth, ThenLeavesColumnsOutOneAfterTheOther) {
    EXPECT_EQ(frameTable().text(false, 35),
              "NAME     VALUE               TYPE\n"
              "address  10.0.0.5            INT32\n"
              "serial   name=COM1, dev=/d\u2026  STRUCT\n");
    EXPECT_EQ(frameTable().text(false, 20),
              "NAME     VALUE\n"
              "address  10.0.0.5\n"
              "serial   name=COM1,\u2026\n");
}

TEST(TableWidth, CutsEveryTextInTheEnd) {
    Table table({"NAME", {"VALUE", 30}});
    table.add({"a very long name", "a very long value"});
    EXPECT_EQ(table.text(false, 20), "NAME        VALUE\na very lo\u2026  a very \u2026\n");
    EXPECT_EQ(table.text(false, 1), "NAME      VALUE\na very \u2026  a very \u2026\n");
}

TEST(TableWidth, AlignsColumnsBehindWideCharacters) {
    Table table({"NAME", "VALUE"});
    table.add({"東京", "1"});
    EXPECT_EQ(table.text(), "NAME  VALUE\n東京  1\n");
}

TEST(TableWidth, DoesNotCountColours) {
    Table table({"A", {"B", 3}});
    table.add({"x", {"abcdef", Paint::faint}});
    EXPECT_EQ(table.text(true, 7),
              "\x1b[1mA\x1b[0m  \x1b[1mB\x1b[0m\nx  \x1b[2mabc\u2026\x1b[0m\n");
}

TEST(ShortenedText, EndsWithAMarkWithinTheWidth) {
    EXPECT_EQ(shorten("abc", 3), "abc");
    EXPECT_EQ(shorten("abcd", 3), "ab\u2026");
    EXPECT_EQ(shorten("Zürich", 4), "Zür\u2026");
    EXPECT_EQ(shorten("Zürich", 3), "Zü\u2026");
    EXPECT_EQ(shorten("abc", 1), "\u2026");
    EXPECT_EQ(shorten("abc", 0), "");
}

TEST(TextWidth, IsThatOnATerminalInAnyLocale) {
    EXPECT_EQ(textWidth("ü…"), 2u);
    EXPECT_EQ(textWidth("東京"), 4u);
    EXPECT_EQ(textWidth("e\xcc\x81"), 1u) << "a combining accent";
}

TEST(ShortenedText, CutsNoWideCharacterInTwo) {
    EXPECT_EQ(shorten("東京都", 6), "東京都");
    EXPECT_EQ(shorten("東京都", 5), "東京\u2026");
    EXPECT_EQ(shorten("東京都", 4), "東\u2026");
    EXPECT_EQ(shorten("e\xcc\x81tude", 3), "e\xcc\x81t\u2026");
}

TEST(ShortenedText, IsNotCutByteByByte) {
    const std::string text(10'000'000, 'x');
    EXPECT_EQ(textWidth(shorten(text, 9'000'000)), 9'000'000u);
}

TEST(TerminalWidth, OfAFileIsUnknown) {
    EXPECT_EQ(readTerminalWidth(-1), 0u);
}

}  // namespace
}  // namespace cli
