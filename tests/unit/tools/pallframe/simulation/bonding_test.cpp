#include "pallframe/simulation/bonding.h"

#include <gtest/gtest.h>

using namespace pallframe::simulation;

namespace {

constexpr const char* kStatus =
    "Ethernet Channel Bonding Driver: v3.7.1 (April 27, 2011)\n"
    "\n"
    "Bonding Mode: fault-tolerance (active-backup)\n"
    "Primary Slave: None\n"
    "Currently Active Slave: eth1\n"
    "MII Status: up\n"
    "MII Polling Interval (ms): 100\n"
    "Up Delay (ms): 0\n"
    "Down Delay (ms): 0\n"
    "\n"
    "Slave Interface: eth0\n"
    "MII Status: down\n"
    "Speed: Unknown\n"
    "Duplex: Unknown\n"
    "Link Failure Count: 3\n"
    "Permanent HW addr: 00:11:22:33:44:55\n"
    "Slave queue ID: 0\n"
    "\n"
    "Slave Interface: eth1\n"
    "MII Status: up\n"
    "Speed: 1000 Mbps\n"
    "Duplex: full\n"
    "Link Failure Count: 0\n"
    "Permanent HW addr: 00:11:22:33:44:56\n"
    "Slave queue ID: 0\n";

Bond movedToPort2() {
    return {{{"eth0", false, 3, "00:11:22:33:44:55"}, {"eth1", true, 0, "00:11:22:33:44:56"}},
            "eth1"};
}

Bond bothUp() {
    return {{{"eth0"}, {"eth1"}}, "eth0"};
}

TEST(Bonding, RendersAsTheDriverDoes) {
    EXPECT_EQ(renderBond(movedToPort2(), true), kStatus);
}

TEST(Bonding, TheCopyOfATessaraFrameHasNoDriverLine) {
    const std::string all(kStatus);
    EXPECT_EQ(renderBond(movedToPort2(), false), all.substr(all.find("Bonding Mode")));
}

TEST(Bonding, ParsesWhatItRendered) {
    EXPECT_EQ(parseBond(kStatus), movedToPort2());
    EXPECT_EQ(parseBond(renderBond(movedToPort2(), false)), movedToPort2());
}

TEST(Bonding, WithoutAnActiveSlaveTheTextSaysNone) {
    Bond bond = bothUp();
    ASSERT_TRUE(setLink(bond, "eth0", false));
    ASSERT_TRUE(setLink(bond, "eth1", false));
    EXPECT_EQ(bond.active, "");
    const std::string text = renderBond(bond, true);
    EXPECT_NE(text.find("Currently Active Slave: None\nMII Status: down\n"), std::string::npos);
    EXPECT_EQ(parseBond(text).active, "");
}

TEST(Bonding, PassesOverForeignText) {
    EXPECT_EQ(parseBond(""), Bond{});
    EXPECT_EQ(parseBond("\n\n:\nno colon\nkey:value\nLink Failure Count: many"), Bond{});
    EXPECT_EQ(parseBond("Slave Interface: eth0\nLink Failure Count: x\nMII Status: odd").slaves,
              (std::vector<Slave>{{"eth0", false, 0}}));
}

TEST(Bonding, LosingTheActiveLinkMovesTheBond) {
    Bond bond = bothUp();
    EXPECT_TRUE(setLink(bond, "eth0", false));
    EXPECT_EQ(bond, (Bond{{{"eth0", false, 1}, {"eth1"}}, "eth1"}));
}

TEST(Bonding, AReturningLinkDoesNotTakeTheBondBack) {
    Bond bond = movedToPort2();
    EXPECT_TRUE(setLink(bond, "eth0", true));
    EXPECT_EQ(bond.active, "eth1");
    EXPECT_EQ(bond.slaves[0].linkFailures, 3);
}

TEST(Bonding, AReturningLinkTakesAnIdleBond) {
    Bond bond{{{"eth0", false}, {"eth1", false}}, ""};
    EXPECT_TRUE(setLink(bond, "eth1", true));
    EXPECT_EQ(bond.active, "eth1");
}

TEST(Bonding, PullingAPulledCableCountsOnce) {
    Bond bond = bothUp();
    setLink(bond, "eth1", false);
    setLink(bond, "eth1", false);
    EXPECT_EQ(bond.slaves[1].linkFailures, 1);
}

TEST(Bonding, AnUnknownPortChangesNothing) {
    Bond bond = bothUp();
    EXPECT_FALSE(setLink(bond, "eth2", false));
    EXPECT_FALSE(makeActive(bond, "eth2"));
    EXPECT_EQ(bond, bothUp());
}

TEST(Bonding, TheActivePortIsSwappedOnRequest) {
    Bond bond = bothUp();
    EXPECT_TRUE(makeActive(bond, "eth1"));
    EXPECT_EQ(bond.active, "eth1");
}

TEST(Bonding, APortWithoutLinkDoesNotBecomeActive) {
    Bond bond = movedToPort2();
    EXPECT_FALSE(makeActive(bond, "eth0"));
    EXPECT_EQ(bond.active, "eth1");
}

}  // namespace
