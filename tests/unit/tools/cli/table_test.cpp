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

}  // namespace
}  // namespace cli
