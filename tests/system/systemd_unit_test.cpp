// The systemd unit as a file: its directives, and what the page on installation says of them.

#include <regex>

#include "pallframe_process.h"
#include "text_parts.h"
#include "unit_directives.h"

using namespace outside;
using testing::Contains;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::UnorderedElementsAreArray;

namespace {

// The directives in the first column of a table, for each table of the page's section on the unit.
std::vector<Words> readTables() {
    const std::regex directive("`([^`]+)`");
    std::vector<Words> tables;
    bool inSection = false;
    bool inTable = false;
    for (const std::string& line : linesOf(readFile("doc/installation.md"))) {
        if (line.starts_with("## ")) {
            inSection = line == "## The systemd unit";
        }
        const bool isRow = inSection && line.starts_with("|");
        if (isRow && !inTable) {
            tables.emplace_back();
        }
        inTable = isRow;
        const std::string cell = isRow ? line.substr(1, line.find('|', 1) - 1) : "";
        for (std::sregex_iterator match(cell.begin(), cell.end(), directive), end; match != end;
             ++match) {
            tables.back().push_back((*match)[1]);
        }
    }
    return tables;
}

TEST(SystemdUnit, LetsTheDaemonReportAndRestartsItWithoutEnd) {
    Words lines;
    for (const Directive& directive : readDirectives()) {
        lines.push_back(directive.section + " " + directive.name + "=" + directive.value);
    }
    EXPECT_THAT(lines, IsSupersetOf({
                           "[Unit] StartLimitIntervalSec=0",
                           "[Service] Type=notify",
                           "[Service] Restart=always",
                           "[Service] RestartSec=1",
                           "[Service] KillMode=process",
                           "[Service] OOMScoreAdjust=-900",
                       }));
}

TEST(SystemdUnit, EachDirectiveHasItsReasonInTheDocumentation) {
    Words directives;
    for (const Directive& directive : readDirectives()) {
        directives.push_back(directive.name + "=" + directive.value);
    }
    ASSERT_THAT(directives, Not(IsEmpty()));
    EXPECT_THAT(readTables().at(0), UnorderedElementsAreArray(directives));
}

TEST(SystemdUnit, HasNoDirectiveThatTheDocumentationLeavesOut) {
    const Words leftOut = readTables().at(1);
    ASSERT_THAT(leftOut, Contains("ProtectSystem"));
    for (const Directive& directive : readDirectives()) {
        EXPECT_THAT(leftOut, Not(Contains(directive.name)));
    }
}

}  // namespace
