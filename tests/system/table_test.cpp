// Tables on terminals of several widths, and in a pipe.

#include <algorithm>
#include <sstream>

#include "harness/terminal.h"
#include "on_pallbus.h"
#include "systemstate/catalogue.h"

using testing::Each;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr unsigned short kWidths[] = {200, 93, 80, 60, 40};

// The width of a row; bytes that continue a character have no column of their own.
size_t columnsOf(const std::string& row) {
    return static_cast<size_t>(std::ranges::count_if(
        row, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

std::vector<std::string> rowsOf(const std::string& text) {
    std::vector<std::string> rows;
    std::istringstream lines(text);
    for (std::string row; std::getline(lines, row);) {
        row.erase(row.find_last_not_of('\r') + 1);
        rows.push_back(row);
    }
    return rows;
}

class TableOnTerminal : public OnPallbus {
  protected:
    // Something long in each of its columns.
    TableOnTerminal() : OnPallbus("Quorane") {
        start();
        const harness::Result set = pallctl({"set", "systemName=" + longText});
        EXPECT_EQ(set.status, 0) << set.error;
    }

    // What the program prints on a terminal of that width, which may be short.
    static std::vector<std::string> rows(const std::string& name, const Words& words,
                                         unsigned short columns) {
        Words all{"env", "NO_COLOR=1"};
        const Words called = program(name, words);
        all.insert(all.end(), called.begin(), called.end());
        harness::Terminal terminal(all, columns);
        EXPECT_EQ(terminal.waitForEnd(), 0);
        return rowsOf(terminal.screen().waitForEnd());
    }

    static void expectFit(const std::vector<std::string>& rows, size_t columns) {
        EXPECT_THAT(rows, Each(testing::ResultOf(columnsOf, testing::Le(columns))));
    }

    const std::string longText = "begin" + std::string(3000, 'x') + "end";
};

TEST_F(TableOnTerminal, OfParametersFitsAndHasEveryParameter) {
    for (const unsigned short columns : kWidths) {
        const auto table = rows("pallctl", {"list"}, columns);
        EXPECT_EQ(table.size(), 1 + systemstate::catalogue().size()) << columns;
        expectFit(table, columns);
        EXPECT_THAT(table[2], HasSubstr("begin")) << columns;
        EXPECT_THAT(table[2], HasSubstr("\u2026")) << columns;
    }
}

TEST_F(TableOnTerminal, OfParametersGivesUpTypesBeforeNamesAndAddresses) {
    EXPECT_THAT(rows("pallctl", {"list"}, 80)[6],
                testing::MatchesRegex("system.ipAddress +10.0.0.5 +INT32 +no"));
    EXPECT_THAT(rows("pallctl", {"list"}, 40)[6], testing::MatchesRegex("ipAddress +10.0.0.5"));
}

TEST_F(TableOnTerminal, OfAWatchFitsToo) {
    Words words{"env", "NO_COLOR=1"};
    const Words called = program("pallctl", {"watch", "--table"});
    words.insert(words.end(), called.begin(), called.end());
    harness::Terminal watch(words, 80);
    watch.screen().waitFor("serial2");
    expectFit(rowsOf(watch.screen().text()), 80);
    ASSERT_EQ(pallctl({"set", "systemName=" + std::string(3000, 'y')}).status, 0);
    watch.screen().waitFor("\u2026\r\n");
    EXPECT_THAT(watch.screen().text(), Not(HasSubstr(std::string(80, 'y'))));
}

TEST_F(TableOnTerminal, OfADescriptionFitsToo) {
    for (const unsigned short columns : kWidths) {
        expectFit(rows("pallctl", {"describe"}, columns), columns);
    }
}

TEST_F(TableOnTerminal, OfAFrameFitsToo) {
    harness::run({"systemctl", "start", std::string(300, 's')});
    for (const unsigned short columns : kWidths) {
        expectFit(rows("pallframe", {"status"}, columns), columns);
    }
}

TEST_F(TableOnTerminal, IsWholeInAPipe) {
    for (const Words& words : {Words{"list"}, Words{"describe"}, Words{"describe", "systemName"}}) {
        EXPECT_THAT(pallctl(words).output, HasSubstr(longText)) << words.front();
    }
    EXPECT_THAT(rowsOf(pallctl({"list"}).output)[0],
                testing::MatchesRegex("NAME +VALUE +TYPE +READ-ONLY"));
}

}  // namespace
