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
    EXPECT_EQ(textOf(line), " PSU 1        8.00 V  ██████████████████████▁▁  8.00…12.00");
    EXPECT_EQ(lineWidth(line[2].text), 24u);
}

TEST_F(PanelsTest, ATypewriterHasGraphsToo) {
    describe({descriptor("psu1Voltage", "FLOAT", "12", R"(,"precision":2)")});
    now = 225s;
    announce(R"("psu1Voltage":8)");
    now = 239s;
    EXPECT_EQ(textOf(renderVoltages(input(Charset::ascii), 60)[1]),
              " PSU 1        8.00 V  ######################__  8.00..12.00");
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
