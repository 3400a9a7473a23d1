// `pallctl top` as a person sees it: what is on the screen, and what the keys do to it.

#include <algorithm>
#include <string>

#include "on_top.h"
#include "systemstate/catalogue.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

// On a Brio nothing is read from the hardware, so nothing changes by itself.
class TopOnBrio : public OnTop {
  protected:
    TopOnBrio() : OnTop("QuoraneBrio") {}
};

TEST_F(TopOnBrio, ShowsThePanelsAndTheFirstGroups) {
    openOnDevice();
    terminal->waitFor("10.1.1.2");
    EXPECT_THAT(
        terminal->screen(),
        ElementsAre(
            " QuoraneBrio · System · 4.2.1(31415)                127.0.0.1:15000 · connected",
            " Ethernet ports                          Voltages, the last 4 minutes",
            " Port 1    not measured                  PSU 1             -",
            " Port 2    not measured                  PSU 2             -",
            " Redundant pair                          Battery           -",
            " Primary   active   1.0  10.1.1.1", " Secondary standby  1.0  10.1.1.2", "",
            " Identity", "  frameName                QuoraneBrio",
            "  systemName               System", "  version                  4.2.1(31415)",
            "  active                   1", "  quoraneProfilesEnabled   Disabled",
            "  quoraneUsersEnabled      Enabled", " Network", "  ipAddress                10.0.0.5",
            "  netmask                  255.255.255.0", "  gateway                  10.0.0.1",
            "  restartNetwork           Cancel", " Ethernet ports", "  ethPort1Status           0",
            std::string(71, ' ') + std::to_string(systemstate::catalogue().size() - 11) + " below",
            " q quit  ? help  / search  n N next  f filter  Enter set  r record"));
}

TEST_F(TopOnBrio, ScrollsToTheEnd) {
    openOnDevice();
    terminal->press({"End"});
    terminal->waitFor("productId");
    EXPECT_THAT(rowsWith("frameName"), SizeIs(0));
    terminal->press({"Home"});
    terminal->waitFor("frameName");
}

TEST_F(TopOnBrio, SearchesAndFilters) {
    openOnDevice();
    terminal->type("/sec");
    terminal->waitFor("secondaryIPAddress");
    terminal->press({"Enter"});
    terminal->type("fenabled");
    terminal->waitFor("ambrixEnabled");
    EXPECT_THAT(rowsWith("secondaryIPAddress"), SizeIs(0));
    terminal->press({"Escape"});
    terminal->waitFor("secondaryIPAddress");
}

TEST_F(TopOnBrio, HelpsAndGoesBack) {
    openOnDevice();
    terminal->type("?");
    terminal->waitFor(" Keys");
    EXPECT_THAT(rowsWith("systemName"), SizeIs(0));
    terminal->type("x");
    terminal->waitFor("systemName");
}

TEST_F(TopOnBrio, FollowsTheSizeOfItsTerminal) {
    openOnDevice();
    terminal->resize({100, 40});
    terminal->waitUntil(
        [](const auto& rows) { return rows.size() == 40 && rows[39].starts_with(" q quit"); },
        "forty rows");
    EXPECT_THAT(rowsWith("System Name"), SizeIs(1)) << "there is room for labels";
    terminal->resize({30, 5});
    terminal->waitUntil(
        [](const auto& rows) {
            return rows.size() == 5 && rows[2] == "  frameName        QuoraneBrio";
        },
        "two rows");
    terminal->press({"Down"});
    terminal->resize({1, 1});
    terminal->resize({80, 24});
    terminal->waitFor("QuoraneBrio");
}

TEST_F(TopOnBrio, SaysWhatIsNotMeasured) {
    openOnDevice();
    terminal->waitFor("Port 1    not measured");
    terminal->waitFor("Port 2    not measured");
    EXPECT_THAT(rowsWith("out of range"), SizeIs(0));
}

using TopOnQuorane = OnTop;

TEST_F(TopOnQuorane, ATypewriterIsEnough) {
    start();
    open({}, {}, {"LC_ALL=C"});
    terminal->waitFor("12.00..12.00");
    for (const std::string& row : terminal->screen()) {
        EXPECT_TRUE(std::all_of(row.begin(), row.end(), [](char c) { return c > 0; })) << row;
    }
}

TEST_F(TopOnQuorane, ShowsAPulledCable) {
    openOnDevice();
    terminal->waitFor("Port 1    link up, active");
    pallframe::simulation::setCable(frame.tree(), "eth0", false);
    terminal->waitFor(" *ethPort1Status");
    EXPECT_THAT(terminal->colouredScreen(), HasSubstr("\x1b[33m *")) << "in yellow";
    terminal->waitFor("Port 1    link down");
    terminal->waitFor("Port 2    link up, active");
    pallframe::simulation::setCable(frame.tree(), "eth0", true);
    terminal->waitFor("Port 1    link up");
}

TEST_F(TopOnQuorane, ShowsAFallingSupply) {
    openOnDevice();
    terminal->waitFor("PSU 1       12.00 V");
    pallframe::simulation::setSupply(frame.tree(), 1, 6);
    terminal->waitUntilGone("PSU 1       12.00 V");
    terminal->waitFor("PSU 2       12.00 V");
}

// Found dead by a view that was opened afterwards.
TEST_F(TopOnQuorane, ADeadSupplyAlarms) {
    pallframe::simulation::setSupply(frame.tree(), 1, 0);
    openOnDevice();
    terminal->waitFor("PSU 1   !    0.00 V");
    terminal->waitFor("! out of range: psu1Voltage");
    EXPECT_THAT(terminal->colouredScreen(), HasSubstr("\x1b[31m!")) << "in red";
    EXPECT_THAT(rowsWith("PSU 2       12.00 V"), SizeIs(1));
}

TEST_F(TopOnQuorane, ASaggingSupplyAlarmsWithoutColoursToo) {
    pallframe::simulation::setSupply(frame.tree(), 2, 11);
    start();
    open({}, {}, {"TERM=vt100"});
    terminal->waitFor("PSU 2   !   11.00 V");
    terminal->waitFor("PSU 1       12.00 V");
}

TEST_F(TopOnQuorane, AlarmsOnFortyColumns) {
    pallframe::simulation::setSupply(frame.tree(), 1, 0);
    openOnDevice({}, {.columns = 40});
    terminal->waitFor("PSU 1   !    0.00 V");
    terminal->waitFor(" ipAddress                10.0.0.5");
}

TEST_F(TopOnQuorane, OutlivesTheBusAndReadsEverythingAgain) {
    openOnDevice();
    terminal->waitFor("Port 1    link up, active");
    stopBus();
    terminal->waitFor("no bus for");
    pallframe::simulation::setCable(frame.tree(), "eth0", false);
    startBus();
    terminal->waitFor("connected");
    terminal->waitFor("Port 1    link down");
}

TEST_F(TopOnQuorane, BeginsWithoutABus) {
    open();
    terminal->waitFor("no bus for");
    start();
    terminal->waitFor("connected");
    terminal->waitFor("Port 1    link up, active");
}

TEST_F(TopOnQuorane, TellsWhenTheDaemonIsGone) {
    openOnDevice();
    stopDaemon();
    terminal->waitFor("no answer for");
    startDaemon();
    terminal->waitFor("connected");
}

}  // namespace
