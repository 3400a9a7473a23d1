#include "pallctl/top/device_state.h"

#include <gmock/gmock.h>

#include "messages.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class DeviceStateTest : public DeviceStateFixture {
  protected:
    std::string shown(const std::string& leaf) const { return displayValue(state.find(leaf)); }
    std::vector<Reading> psu1() const { return state.history(0).lowest(now, 4); }
};

TEST_F(DeviceStateTest, KnowsWhatWasDescribedAndAnnounced) {
    describe({descriptor("sshEnabled", "INT32", "1", kSwitchChoices)});
    EXPECT_EQ(shown("sshEnabled"), "Enabled");
    announce(R"("sshEnabled":0,"systemName":"Studio")");
    EXPECT_EQ(shown("sshEnabled"), "Disabled");
    EXPECT_EQ(shown("systemName"), "Studio");
    EXPECT_EQ(shown("nothing"), "-");
}

TEST_F(DeviceStateTest, WhatNobodyDescribedIsAsTheCatalogueHasIt) {
    announce(R"("sshEnabled":0,"gateway":167772161,"strange":1)");
    EXPECT_EQ(shown("sshEnabled"), "Disabled");
    EXPECT_EQ(state.find("sshEnabled")->descriptor.label, "SSH Server");
    EXPECT_EQ(shown("gateway"), "10.0.0.1");
    EXPECT_EQ(state.find("strange")->descriptor.type, "");
    describe({descriptor("sshEnabled", "INT32", "0")});
    EXPECT_EQ(state.find("sshEnabled")->descriptor.label, "sshEnabled label")
        << "the device knows better";

    DeviceState other("mixer");
    other.take(received("[\"NOT\", \"mixer\", 8, 0, 0]\n{\"param\":{\"sshEnabled\":1}}"), now);
    EXPECT_EQ(other.find("sshEnabled")->descriptor.label, "") << "no daemon's device";
}

TEST_F(DeviceStateTest, ReadingIsNoChangeUntilSomethingElseIsRead) {
    describe({descriptor("a", "INT32", "1")});
    EXPECT_EQ(state.changedAt("system.a"), std::nullopt);
    now = 5s;
    describe({descriptor("a", "INT32", "1")});
    EXPECT_EQ(state.changedAt("system.a"), std::nullopt);
    describe({descriptor("a", "INT32", "2")});
    EXPECT_EQ(state.changedAt("system.a"), Moment(5s));
    now = 7s;
    announce(R"("a":2)");
    EXPECT_EQ(state.changedAt("system.a"), Moment(5s)) << "announced, but the same";
    announce(R"("a":3)");
    EXPECT_EQ(state.changedAt("system.a"), Moment(7s));
}

TEST_F(DeviceStateTest, TellsThatTheDaemonIsNewOnTheBus) {
    EXPECT_FALSE(state.take(received(announcement(R"("a":3)")), now));
    EXPECT_TRUE(state.take(received(announcement(R"("frameName":"Quorane")")), now));
}

TEST_F(DeviceStateTest, OtherObjectsAreNotTheDevice) {
    state.take(received("[\"NOT\", \"other\", 8, 0, 0]\n{\"param\":{\"a\":1}}"), now);
    EXPECT_THAT(state.all(), IsEmpty());
}

TEST_F(DeviceStateTest, AnObjectBehindAPrefixHasTheSameLeaves) {
    DeviceState tunnelled("frameB.system");
    tunnelled.take(received("[\"NOT\", \"frameB.system\", 8, 0, 0]\n{\"param\":{\"a\":1}}"), now);
    ASSERT_TRUE(tunnelled.find("a"));
    EXPECT_EQ(tunnelled.leafName(*tunnelled.find("a")), "a");
}

TEST_F(DeviceStateTest, VoltagesAreKeptFromTheirDescriptionOn) {
    describe({descriptor("psu1Voltage", "FLOAT", "12")});
    now = 130s;
    announce(R"("psu1Voltage":9.5)");
    now = 239s;
    EXPECT_THAT(psu1(), ElementsAre(12.0, 12.0, 9.5, 9.5));
}

TEST_F(DeviceStateTest, AVoltageBelowZeroHasNotBeenMeasured) {
    describe({descriptor("psu1Voltage", "FLOAT", "-1")});
    EXPECT_EQ(state.history(0).last(), std::nullopt);
}

TEST_F(DeviceStateTest, AVoltageThatBeginsWithZeroHasNotBeenMeasured) {
    describe({descriptor("psu1Voltage", "FLOAT", "0")});
    EXPECT_EQ(state.history(0).last(), std::nullopt);
    announce(R"("psu1Voltage":12)");
    announce(R"("psu1Voltage":0)");
    EXPECT_EQ(state.history(0).last(), 0.0) << "this one is dead";
}

TEST_F(DeviceStateTest, ADeadSupplyIsKeptFromTheSecondPollOn) {
    describe({descriptor("psu1Voltage", "FLOAT", "0"), descriptor("psu2Voltage", "FLOAT", "0")});
    announce(R"("psu2Voltage":12)");
    EXPECT_EQ(state.history(0).last(), std::nullopt) << "its first reading may be on its way";
    now += 1s;
    announce(R"("systemName":"Studio")");
    EXPECT_EQ(state.history(0).last(), 0.0);
}

TEST_F(DeviceStateTest, ANewStartOfTheDaemonIsAGapAndNoDeadSupply) {
    const std::vector<std::string> atStart{descriptor("psu1Voltage", "FLOAT", "0"),
                                           descriptor("psu2Voltage", "FLOAT", "0"),
                                           descriptor("battVoltage", "FLOAT", "-1")};
    announce(R"("psu1Voltage":12,"psu2Voltage":12)");
    now = 70s;
    describe(atStart);
    now = 130s;
    announce(R"("psu2Voltage":12)");
    announce(R"("psu1Voltage":12)");
    now = 239s;
    EXPECT_THAT(psu1(), ElementsAre(12.0, 12.0, 12.0, 12.0));
    EXPECT_THAT(state.history(0).all(now, 4), ElementsAre(12.0, std::nullopt, 12.0));
}

TEST_F(DeviceStateTest, OnlyPortsAndVoltagesMayNotBeMeasured) {
    describe({descriptor("ethPort1Status", "INT32", "0"), descriptor("frameType", "INT32", "0"),
              descriptor("psu1Voltage", "FLOAT", "0"), descriptor("psu2Voltage", "FLOAT", "0"),
              descriptor("battVoltage", "FLOAT", "-1")});
    now += 1min;
    for (const char* leaf : {"ethPort1Status", "psu1Voltage", "psu2Voltage", "battVoltage"}) {
        EXPECT_FALSE(state.isMeasured(leaf, now)) << leaf;
    }
    EXPECT_TRUE(state.isMeasured("frameType", now));
}

TEST_F(DeviceStateTest, TheGraphsBreakOffWhileNothingIsHeard) {
    describe({descriptor("psu1Voltage", "FLOAT", "12")});
    now = 30s;
    state.markDisconnected(now);
    now = 130s;
    describe({descriptor("psu1Voltage", "FLOAT", "12")});
    now = 239s;
    EXPECT_THAT(psu1(), ElementsAre(12.0, std::nullopt, 12.0, 12.0));
    EXPECT_EQ(shown("psu1Voltage"), "12") << "as it was last known";
}

TEST_F(DeviceStateTest, BeginsAnew) {
    describe({descriptor("psu1Voltage", "FLOAT", "12")});
    announce(R"("psu1Voltage":9.5)");
    state.clear();
    EXPECT_THAT(state.all(), IsEmpty());
    EXPECT_EQ(state.changedAt("system.psu1Voltage"), std::nullopt);
    EXPECT_EQ(state.history(0).last(), std::nullopt);
    announce(R"("a":3)");
    EXPECT_EQ(state.changedAt("system.a"), now) << "and still listens";
}

TEST(HighlightTest, LastsForThreeSeconds) {
    EXPECT_TRUE(isHighlighted(Moment(1s), 3999ms));
    EXPECT_FALSE(isHighlighted(Moment(1s), 4s));
    EXPECT_FALSE(isHighlighted(std::nullopt, 0s));
}

}  // namespace
}  // namespace pallctl::top
