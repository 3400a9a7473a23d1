#include "pallctl/top/layout.h"

#include <gmock/gmock.h>

#include "bus/local_zone.h"
#include "messages.h"
#include "pallctl/top/line_layout.h"
#include "screen_contents.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr Size kUsual{24, 80};

class LayoutTest : public DeviceStateFixture {
  protected:
    LayoutTest() {
        status.place = "127.0.0.1:15000";
        status.link = Link::connected;
        describe({descriptor("frameName", "STRING", "\"Quorane\""),
                  descriptor("systemName", "STRING", "\"Studio\""),
                  descriptor("ipAddress", "INT32", "167772165", kAddress),
                  descriptor("sshEnabled", "INT32", "1", kSwitchChoices)});
    }

    ScreenContent content(const Size& size = kUsual) const {
        return renderScreen({state, view, status, now, Charset::unicode}, size);
    }
    std::vector<std::string> shown(const Size& size = kUsual) const {
        return textsOf(content(size).lines);
    }
    // The table alone, which begins below the panels.
    std::vector<std::string> table(const Size& size) const {
        auto lines = shown(size);
        const auto begin = lines.end() - 2 - static_cast<std::ptrdiff_t>(countTableRows(size));
        return {begin, lines.end() - 2};
    }

    View view{state, SourceKind::device};
    Status status;
};

TEST_F(LayoutTest, ShowsGroupsOfNamesAndValues) {
    EXPECT_THAT(table({12, 60}), ElementsAre(" Identity", "  frameName                Quorane",
                                             "  systemName               Studio", " Network",
                                             "  ipAddress                10.0.0.5", " Services",
                                             "  sshEnabled               Enabled", "", ""));
}

TEST_F(LayoutTest, AWideScreenHasLabels) {
    EXPECT_THAT(shown({24, 90}),
                Contains("  ipAddress                ipAddress label        10.0.0.5"));
}

TEST_F(LayoutTest, PanelsStandAboveTheTable) {
    const auto lines = shown();
    EXPECT_THAT(lines[1], testing::MatchesRegex(" Ethernet ports +Voltages, .*"));
    EXPECT_THAT(lines[4], StartsWith(" Redundant pair"));
    EXPECT_EQ(lines[7], "");
    EXPECT_EQ(lines[8], " Identity");
}

TEST_F(LayoutTest, ANarrowScreenStacksThemWhenItIsHighEnough) {
    const auto lines = shown({24, 60});
    EXPECT_THAT(lines[1], StartsWith(" Ethernet ports"));
    EXPECT_THAT(lines[4], StartsWith(" Redundant pair"));
    EXPECT_THAT(lines[7], StartsWith(" Voltages"));
    EXPECT_EQ(lines[12], " Identity");
}

TEST_F(LayoutTest, ASmallScreenIsForTheTable) {
    EXPECT_EQ(shown({15, 80})[1], " Identity");
    EXPECT_EQ(shown({23, 60})[1], " Identity");
}

TEST_F(LayoutTest, AChangeIsMarkedForAMomentAndDatedForGood) {
    const LocalZone zone(kThreeHoursEast);
    status.begin += 1795273445s;  // 2026-11-21T15:04:05Z
    now = 10s;
    announce(R"("systemName":"Truck")");
    now = 12s;
    Line line = content({12, 60}).lines[3];
    EXPECT_EQ(textOf(line), " *systemName               Truck                    18:04:15");
    EXPECT_EQ(styleOf(line, "Truck"), Style::changed);
    now = 75s;
    line = content({12, 60}).lines[3];
    EXPECT_EQ(textOf(line), "  systemName               Truck                    18:04:15");
    EXPECT_EQ(styleOf(line, "Truck"), Style::plain);
    now = 24h + 10s;
    line = content({12, 60}).lines[3];
    EXPECT_EQ(textOf(line), "  systemName               Truck                       11-21");
}

TEST_F(LayoutTest, AReadingOutOfRangeIsMarkedInTheTableAndBelowIt) {
    announce(R"("psu1Voltage":9.5)");
    now += 10s;
    const std::vector<Line> lines = content({12, 60}).lines;
    const auto row = std::ranges::find_if(
        lines, [](const Line& line) { return textOf(line).starts_with("! psu1Voltage"); });
    ASSERT_NE(row, lines.end());
    EXPECT_EQ(styleOf(*row, "9.50"), Style::bad);
    EXPECT_EQ(textOf(lines[10]), " ! out of range: psu1Voltage");
    EXPECT_EQ(styleOf(lines[10], "psu1Voltage"), Style::bad);
    announce(R"("psu1Voltage":9.4)");
    EXPECT_THAT(shown({12, 60}), Contains(StartsWith("!*psu1Voltage")));
}

// 40 columns leave 13 beside the widest name.
TEST_F(LayoutTest, OnANarrowScreenTheTimeGivesWayBeforeTheValue) {
    const LocalZone zone(kThreeHoursEast);
    status.begin += 1795273445s;  // 2026-11-21T15:04:05Z
    const auto row = [&](const std::string& name) {
        announce("\"systemName\":\"" + name + "\"");
        now += 10s;
        const auto lines = table({12, 40});
        now -= 10s;
        return lines[2];
    };
    EXPECT_EQ(row("Four"), "  systemName               Four 18:04:05");
    EXPECT_EQ(row("Fiver"), "  systemName               Fiver");
    EXPECT_EQ(row("Thirteen long"), "  systemName               Thirteen long");
    EXPECT_EQ(row("A name of twenty-seven char"), "  systemName A name of twenty-seven char");
    EXPECT_EQ(row("A name of twenty-eight chars"), "  systemName A name of twenty-eight cha…");
}

TEST_F(LayoutTest, ALongValueOnAWideScreenIsCutBesideItsTime) {
    const LocalZone zone(kThreeHoursEast);
    status.begin += 1795273445s;  // 2026-11-21T15:04:05Z
    announce(R"("systemName":"a value that is longer than the row has columns for it")");
    now += 10s;
    EXPECT_EQ(table({12, 60})[2], "  systemName               a value that is longer … 18:04:05");
}

TEST_F(LayoutTest, TheSelectedRowIsMarkedOverItsWholeWidth) {
    press(view, KeyCode::down);
    const Line line = content().lines[10];
    EXPECT_THAT(textOf(line), StartsWith("  systemName"));
    EXPECT_EQ(line[0].style, Style::selected);
    EXPECT_EQ(lineWidth(line), 80u);
}

TEST_F(LayoutTest, TheSelectedRowStaysInSight) {
    std::vector<std::string> descriptors;
    for (int number = 100; number < 200; ++number) {
        descriptors.push_back(descriptor("x" + std::to_string(number), "INT32", "1"));
    }
    describe(descriptors);
    for (int row = 0; row < 110; ++row) {
        const std::string leaf = state.leafName(*view.selected());
        EXPECT_THAT(table({9, 60}), Contains(StartsWith("  " + leaf + " ")));
        press(view, KeyCode::down);
    }
    EXPECT_THAT(table({9, 60}).back(), StartsWith("  x199")) << "no empty rows at the end";
}

TEST_F(LayoutTest, TellsHowManyParametersThereIsNoRoomFor) {
    const auto foot = [&](const Size& size) { return textOf(content(size).lines[size.rows - 2]); };
    EXPECT_EQ(foot({12, 60}), "") << "all are there";
    EXPECT_EQ(foot({6, 60}), std::string(52, ' ') + "2 below");
    press(view, KeyCode::end);
    EXPECT_EQ(foot({6, 60}), std::string(52, ' ') + "2 above");
    press(view, KeyCode::up);
    EXPECT_EQ(foot({6, 60}), std::string(43, ' ') + "2 above, 1 below");
    type(view, "/nowhere");
    EXPECT_THAT(foot({6, 60}), StartsWith(" nothing matches nowhere "));
    EXPECT_EQ(foot({6, 28}), " nothing matches nowhere") << "a notice comes first";
}

TEST_F(LayoutTest, FillsAScreenOfAnySizeAndNoMore) {
    announce(
        R"("systemName":"a very long name that no small screen has the room for 東京東京東京")");
    for (const char* keys : {"", "?", "/x", "f", "g\n", "g\n\ny"}) {
        View other(state, SourceKind::device);
        for (const char* key = keys; *key != '\0'; ++key) {
            other.press({*key == '\n' ? KeyCode::enter : KeyCode::character, {*key}}, now);
        }
        for (size_t rows = 0; rows < 40; ++rows) {
            for (size_t columns = 0; columns < 110; columns += columns < 6 ? 1 : 13) {
                const ScreenContent result =
                    renderScreen({state, other, status, now, Charset::unicode}, {rows, columns});
                ASSERT_EQ(result.lines.size(), rows);
                for (const Line& line : result.lines) {
                    ASSERT_EQ(lineWidth(line), columns) << rows << " rows, keys " << keys;
                }
                if (result.cursor) {
                    ASSERT_LT(result.cursor->row, rows);
                    ASSERT_LT(result.cursor->column, std::max<size_t>(columns, 1));
                }
            }
        }
    }
}

TEST_F(LayoutTest, HelpTakesThePlaceOfTheTable) {
    type(view, "?");
    const auto lines = shown();
    EXPECT_EQ(lines[1], " Keys");
    EXPECT_THAT(lines, Contains(HasSubstr("set the selected parameter")));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("systemName"))));
}

TEST_F(LayoutTest, HelpIsAboutWhatCanBeDone) {
    View played(state, SourceKind::recording);
    type(played, "?");
    const auto lines =
        textsOf(renderScreen({state, played, status, now, Charset::unicode}, kUsual).lines);
    EXPECT_THAT(lines, Contains(HasSubstr("10 seconds back")));
    EXPECT_THAT(lines, Not(Contains(HasSubstr("set the selected"))));
}

TEST_F(LayoutTest, TextsOfTheDeviceCannotCommandTheTerminal) {
    announce(R"("systemName":"a\u001b[2Jb")");
    for (const std::string& line : shown()) {
        EXPECT_EQ(line.find('\x1b'), std::string::npos) << line;
    }
}

TEST(AgeTest, HasOneUnit) {
    EXPECT_EQ(formatAge(0s), "0s");
    EXPECT_EQ(formatAge(59999ms), "59s");
    EXPECT_EQ(formatAge(60s), "1m");
    EXPECT_EQ(formatAge(3599s), "59m");
    EXPECT_EQ(formatAge(3600s), "1h");
    EXPECT_EQ(formatAge(86400s), "1d");
    EXPECT_EQ(formatAge(864000s), "10d");
}

TEST(ClockTest, HasHoursWhenThereAreAny) {
    EXPECT_EQ(formatClock(0s), "0:00");
    EXPECT_EQ(formatClock(62900ms), "1:02");
    EXPECT_EQ(formatClock(3661s), "1:01:01");
}

}  // namespace
}  // namespace pallctl::top
