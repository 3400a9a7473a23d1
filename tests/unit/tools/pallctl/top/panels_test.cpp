#include "pallctl/top/panels.h"

#include <gmock/gmock.h>

#include "messages.h"
#include "screen_contents.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class PanelsTest : public DeviceStateFixture {
  protected:
    RenderInput input(Charset charset = Charset::unicode) const {
        return {state, view, status, now, charset};
    }

    View view{state, SourceKind::device};
    Status status;
};

TEST_F(PanelsTest, PortsAreInWords) {
    describe(
        {descriptor("ethPort1Status", "INT32", "1"), descriptor("ethPort2Status", "INT32", "2")});
    EXPECT_THAT(textsOf(renderPorts(input())),
                ElementsAre(" Ethernet ports", " Port 1    link up, active", " Port 2    link up"));
    describe(
        {descriptor("ethPort1Status", "INT32", "0"), descriptor("ethPort2Status", "INT32", "3")});
    EXPECT_THAT(
        textsOf(renderPorts(input())),
        ElementsAre(" Ethernet ports", " Port 1    link down", " Port 2    neither up nor down"));
}

TEST_F(PanelsTest, APortThatGoesDownCatchesTheEyeAndThenStaysRed) {
    describe({descriptor("ethPort1Status", "INT32", "1")});
    EXPECT_EQ(styleOf(renderPorts(input())[1], "link up"), Style::good);
    announce(R"("ethPort1Status":0)");
    EXPECT_EQ(styleOf(renderPorts(input())[1], "link down"), Style::changed);
    now += 3s;
    EXPECT_EQ(styleOf(renderPorts(input())[1], "link down"), Style::bad);
}

TEST_F(PanelsTest, WhatIsNotKnownIsADash) {
    EXPECT_THAT(textsOf(renderPorts(input())),
                ElementsAre(" Ethernet ports", " Port 1    -", " Port 2    -"));
    EXPECT_THAT(textsOf(renderVoltages(input(), 60)),
                ElementsAre(" Voltages, the last 4 minutes", " PSU 1             -",
                            " PSU 2             -", " Battery           -"));
}

TEST_F(PanelsTest, PortsOfAFrameThatMeasuresNothingSaySo) {
    describe({descriptor("ethPort1Status", "INT32", "0"),
              descriptor("ethPort2Status", "INT32", "0"), descriptor("psu1Voltage", "FLOAT", "0"),
              descriptor("psu2Voltage", "FLOAT", "0"), descriptor("battVoltage", "FLOAT", "-1")});
    now += 1min;
    EXPECT_THAT(
        textsOf(renderPorts(input())),
        ElementsAre(" Ethernet ports", " Port 1    not measured", " Port 2    not measured"));
    EXPECT_EQ(textOf(renderVoltages(input(), 60)[1]), " PSU 1             -");
    announce(R"("ethPort2Status":2)");
    EXPECT_THAT(textsOf(renderPorts(input())),
                ElementsAre(" Ethernet ports", " Port 1    link down", " Port 2    link up"));
}

TEST_F(PanelsTest, APairThatNobodyReportedIsUnknown) {
    const std::vector<std::string> unknown{" Redundant pair", " Primary   unknown",
                                           " Secondary unknown"};
    EXPECT_EQ(textsOf(renderPair(input())), unknown);
    describe({descriptor("primaryPresent", "INT32", "0"), descriptor("primaryActive", "INT32", "0"),
              descriptor("primaryVersion", "STRING", "\"\""),
              descriptor("primaryIPAddress", "STRING", "\"\""),
              descriptor("secondaryPresent", "INT32", "0"),
              descriptor("secondaryActive", "INT32", "0"),
              descriptor("secondaryVersion", "STRING", "\"\""),
              descriptor("secondaryIPAddress", "STRING", "\"\"")});
    EXPECT_EQ(textsOf(renderPair(input())), unknown);
    for (const char* reported : {R"("secondaryIPAddress":"10.1.1.2")", R"("primaryVersion":"1")",
                                 R"("primaryActive":1)"}) {
        const std::string members = reported;
        announce(members);
        EXPECT_EQ(textOf(renderPair(input())[1]), " Primary   not present") << reported;
        announce(members.substr(0, members.find(':')) + (members.ends_with('"') ? ":\"\"" : ":0"));
        EXPECT_EQ(textsOf(renderPair(input())), unknown) << reported;
    }
}

TEST_F(PanelsTest, ThePairIsToldApart) {
    describe({descriptor("primaryPresent", "INT32", "1"), descriptor("primaryActive", "INT32", "1"),
              descriptor("primaryVersion", "STRING", "\"1.2\""),
              descriptor("primaryIPAddress", "STRING", "\"10.1.1.1\""),
              descriptor("secondaryPresent", "INT32", "1"),
              descriptor("secondaryActive", "INT32", "0"),
              descriptor("secondaryVersion", "STRING", "\"1.3\""),
              descriptor("secondaryIPAddress", "STRING", "\"10.1.1.2\"")});
    EXPECT_THAT(textsOf(renderPair(input())),
                ElementsAre(" Redundant pair", " Primary   active   1.2  10.1.1.1",
                            " Secondary standby  1.3  10.1.1.2"));
    announce(R"("secondaryPresent":0)");
    EXPECT_EQ(textOf(renderPair(input())[2]), " Secondary not present");
}

// 4 minutes in 24 columns: a column is 10 seconds.
TEST_F(PanelsTest, AVoltageHasItsGraphAndItsRange) {
    describe({descriptor("psu1Voltage", "FLOAT", "12", R"(,"precision":2)")});
    now = 225s;
    announce(R"("psu1Voltage":8)");
    now = 239s;
    const Line line = renderVoltages(input(), 60)[1];
    EXPECT_EQ(textOf(line), " PSU 1   !    8.00 V  ██████████████████████▁▁  8.00…12.00");
    EXPECT_EQ(lineWidth(line[3].text), 22u);
    EXPECT_EQ(lineWidth(line[4].text), 2u);
}

// In one column the supply went from 12 V down to 0.15 V and up to 3 V; now it has 11.83 V.
TEST_F(PanelsTest, TheRangeIsThatOfAllReadings) {
    now = 200s;
    announce(R"("psu1Voltage":0.15)");
    now = 221s;
    announce(R"("psu1Voltage":3)");
    now = 229s;
    announce(R"("psu1Voltage":11.83)");
    EXPECT_EQ(textOf(renderVoltages(input(), 60)[1]),
              " PSU 1       11.83 V" + std::string(23, ' ') + "▁▁▁  0.15…11.83");
    EXPECT_EQ(textOf(renderVoltages(input(), 39)[1]), " PSU 1       11.83 V  0.15…11.83")
        << "also where the graph has no room";
}

TEST_F(PanelsTest, AReadingOutOfRangeAlarmsInColourAndWithAMark) {
    announce(R"("psu1Voltage":12,"psu2Voltage":12)");
    Line line = renderVoltages(input(), 60)[1];
    EXPECT_THAT(textOf(line), testing::StartsWith(" PSU 1       12.00 V"));
    EXPECT_EQ(styleOf(line, "█"), Style::plain);
    now += 1min;
    announce(R"("psu1Voltage":11)");
    line = renderVoltages(input(), 60)[1];
    EXPECT_THAT(textOf(line), testing::StartsWith(" PSU 1   !   11.00 V"));
    EXPECT_EQ(styleOf(line, "!"), Style::bad);
    EXPECT_EQ(styleOf(line, "11.00 V"), Style::bad) << "although it has just changed";
    now += 1min;
    announce(R"("psu1Voltage":12)");
    line = renderVoltages(input(), 60)[1];
    EXPECT_THAT(textOf(line), testing::Not(testing::HasSubstr("!")));
    EXPECT_EQ(styleOf(line, "▁"), Style::bad) << "the minute of 11 V";
    EXPECT_EQ(styleOf(line, "█"), Style::graph);
    announce(R"("psu1Voltage":0)");
    line = renderVoltages(input(), 60)[1];
    EXPECT_THAT(textOf(line), testing::StartsWith(" PSU 1   !    0.00 V"));
    EXPECT_EQ(styleOf(line, "0.00 V"), Style::bad);
}

TEST_F(PanelsTest, AReadingThatIsShownWithinItsRangeIsNoAlarm) {
    describe({descriptor("psu1Voltage", "FLOAT", "11.396", R"(,"precision":2)")});
    now += 1min;
    announce(R"("psu1Voltage":12)");
    now += 1min;
    announce(R"("psu1Voltage":11.396)");
    now += 1min;
    const Line line = renderVoltages(input(), 60)[1];
    EXPECT_THAT(textOf(line), testing::StartsWith(" PSU 1       11.40 V"));
    EXPECT_EQ(styleOf(line, "11.40 V"), Style::plain);
    EXPECT_EQ(styleOf(line, "▁"), Style::graph);
}

TEST_F(PanelsTest, ATypewriterHasGraphsToo) {
    describe({descriptor("psu1Voltage", "FLOAT", "12", R"(,"precision":2)")});
    now = 225s;
    announce(R"("psu1Voltage":8)");
    now = 239s;
    EXPECT_EQ(textOf(renderVoltages(input(Charset::ascii), 60)[1]),
              " PSU 1   !    8.00 V  ######################__  8.00..12.00");
}

TEST_F(PanelsTest, ABatteryThatWasNotMeasuredHasNoVoltage) {
    describe({descriptor("battVoltage", "FLOAT", "-1", R"(,"precision":5)")});
    EXPECT_EQ(textOf(renderVoltages(input(), 60)[3]), " Battery           -");
}

TEST_F(PanelsTest, AVoltageThatWasNeverDescribedHasTwoDecimals) {
    announce(R"("psu1Voltage":11.9994873046875)");
    EXPECT_THAT(textOf(renderVoltages(input(), 60)[1]),
                testing::StartsWith(" PSU 1       12.00 V"));
}

TEST_F(PanelsTest, ThereIsNoGraphWithoutRoom) {
    describe({descriptor("psu1Voltage", "FLOAT", "12", R"(,"precision":2)")});
    EXPECT_EQ(textOf(renderVoltages(input(), 20)[1]), " PSU 1       12.00 V");
}

}  // namespace
}  // namespace pallctl::top
