#include "top/board.h"

#include <gmock/gmock.h>

#include "messages.h"

namespace top {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class BoardTest : public OnBoard {
  protected:
    std::string shown(const std::string& leaf) const { return valueOf(board.find(leaf)); }
    std::vector<Reading> psu1() const { return board.history(0).lowest(now, 4); }
};

TEST_F(BoardTest, KnowsWhatWasDescribedAndAnnounced) {
    describe({descriptor("sshEnabled", "INT32", "1", kSwitchChoices)});
    EXPECT_EQ(shown("sshEnabled"), "Enabled");
    announce(R"("sshEnabled":0,"systemName":"Studio")");
    EXPECT_EQ(shown("sshEnabled"), "Disabled");
    EXPECT_EQ(shown("systemName"), "Studio");
    EXPECT_EQ(shown("nothing"), "-");
}

TEST_F(BoardTest, WhatNobodyDescribedIsAsTheCatalogueHasIt) {
    announce(R"("sshEnabled":0,"gateway":167772161,"strange":1)");
    EXPECT_EQ(shown("sshEnabled"), "Disabled");
    EXPECT_EQ(board.find("sshEnabled")->descriptor.label, "SSH Server");
    EXPECT_EQ(shown("gateway"), "10.0.0.1");
    EXPECT_EQ(board.find("strange")->descriptor.type, "");
    describe({descriptor("sshEnabled", "INT32", "0")});
    EXPECT_EQ(board.find("sshEnabled")->descriptor.label, "sshEnabled label")
        << "the device knows better";

    Board other("mixer");
    other.take(received("[\"NOT\", \"mixer\", 8, 0, 0]\n{\"param\":{\"sshEnabled\":1}}"), now);
    EXPECT_EQ(other.find("sshEnabled")->descriptor.label, "") << "no daemon's device";
}

TEST_F(BoardTest, ReadingIsNoChangeUntilSomethingElseIsRead) {
    describe({descriptor("a", "INT32", "1")});
    EXPECT_EQ(board.changedAt("system.a"), std::nullopt);
    now = 5s;
    describe({descriptor("a", "INT32", "1")});
    EXPECT_EQ(board.changedAt("system.a"), std::nullopt);
    describe({descriptor("a", "INT32", "2")});
    EXPECT_EQ(board.changedAt("system.a"), Moment(5s));
    now = 7s;
    announce(R"("a":2)");
    EXPECT_EQ(board.changedAt("system.a"), Moment(5s)) << "announced, but the same";
    announce(R"("a":3)");
    EXPECT_EQ(board.changedAt("system.a"), Moment(7s));
}

TEST_F(BoardTest, TellsThatTheDaemonIsNewOnTheBus) {
    EXPECT_FALSE(board.take(received(announcement(R"("a":3)")), now));
    EXPECT_TRUE(board.take(received(announcement(R"("frameName":"Quorane")")), now));
}

TEST_F(BoardTest, OtherObjectsAreNotTheDevice) {
    board.take(received("[\"NOT\", \"other\", 8, 0, 0]\n{\"param\":{\"a\":1}}"), now);
    EXPECT_THAT(board.all(), IsEmpty());
}

TEST_F(BoardTest, AnObjectBehindAPrefixHasTheSameLeaves) {
    Board tunnelled("frameB.system");
    tunnelled.take(received("[\"NOT\", \"frameB.system\", 8, 0, 0]\n{\"param\":{\"a\":1}}"), now);
    ASSERT_TRUE(tunnelled.find("a"));
    EXPECT_EQ(tunnelled.leafOf(*tunnelled.find("a")), "a");
}

TEST_F(BoardTest, VoltagesAreKeptFromTheirDescriptionOn) {
    describe({descriptor("psu1Voltage", "FLOAT", "12")});
    now = 130s;
    announce(R"("psu1Voltage":9.5)");
    now = 239s;
    EXPECT_THAT(psu1(), ElementsAre(12.0, 12.0, 9.5, 9.5));
}

TEST_F(BoardTest, AVoltageBelowZeroHasNotBeenMeasured) {
    describe({descriptor("psu1Voltage", "FLOAT", "-1")});
    EXPECT_EQ(board.history(0).last(), std::nullopt);
}

TEST_F(BoardTest, AVoltageThatBeginsWithZeroHasNotBeenMeasured) {
    describe({descriptor("psu1Voltage", "FLOAT", "0")});
    EXPECT_EQ(board.history(0).last(), std::nullopt);
    announce(R"("psu1Voltage":12)");
    announce(R"("psu1Voltage":0)");
    EXPECT_EQ(board.history(0).last(), 0.0) << "this one is dead";
}

TEST_F(BoardTest, TheGraphsBreakOffWhileNothingIsHeard) {
    describe({descriptor("psu1Voltage", "FLOAT", "12")});
    now = 30s;
    board.lose(now);
    now = 130s;
    describe({descriptor("psu1Voltage", "FLOAT", "12")});
    now = 239s;
    EXPECT_THAT(psu1(), ElementsAre(12.0, std::nullopt, 12.0, 12.0));
    EXPECT_EQ(shown("psu1Voltage"), "12") << "as it was last known";
}

TEST_F(BoardTest, BeginsAnew) {
    describe({descriptor("psu1Voltage", "FLOAT", "12")});
    announce(R"("psu1Voltage":9.5)");
    board.clear();
    EXPECT_THAT(board.all(), IsEmpty());
    EXPECT_EQ(board.changedAt("system.psu1Voltage"), std::nullopt);
    EXPECT_EQ(board.history(0).last(), std::nullopt);
    announce(R"("a":3)");
    EXPECT_EQ(board.changedAt("system.a"), now) << "and still listens";
}

TEST(FreshTest, LastsForThreeSeconds) {
    EXPECT_TRUE(isFresh(Moment(1s), 3999ms));
    EXPECT_FALSE(isFresh(Moment(1s), 4s));
    EXPECT_FALSE(isFresh(std::nullopt, 0s));
}

}  // namespace
}  // namespace top
