#include "systemstate/bonding_status.h"

#include <gmock/gmock.h>

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// As the driver writes it: its version line is a block of its own.
constexpr const char* kDriverFile =
    "Ethernet Channel Bonding Driver: v3.7.1 (April 27, 2011)\n"
    "\n"
    "Bonding Mode: fault-tolerance (active-backup)\n"
    "Primary Slave: None\n"
    "Currently Active Slave: eth1\n"
    "MII Status: up\n"
    "MII Polling Interval (ms): 100\n"
    "Up Delay (ms): 200\n"
    "Down Delay (ms): 300\n"
    "\n"
    "Slave Interface: eth0\n"
    "MII Status: down\n"
    "Speed: Unknown\n"
    "Duplex: half\n"
    "Link Failure Count: 3\n"
    "Permanent HW addr: 00:1b:c5:00:00:01\n"
    "Slave queue ID: 0\n"
    "\n"
    "Slave Interface: eth1\n"
    "MII Status: up\n"
    "Speed: 1000 Mbps\n"
    "Duplex: full\n"
    "Link Failure Count: 1\n"
    "Permanent HW addr: 00:1b:c5:00:00:02\n"
    "Slave queue ID: 7\n";

std::string withoutVersionBlock() {
    const std::string file = kDriverFile;
    return file.substr(file.find("\n\n") + 2);
}

void expectBothSlaves(const std::optional<BondingStatus>& bond) {
    ASSERT_TRUE(bond.has_value());
    EXPECT_EQ(bond->activeSlave, "eth1");
    EXPECT_EQ(bond->miiStatus, "up");
    EXPECT_EQ(bond->slaves[0].interface, "eth0");
    EXPECT_EQ(bond->slaves[0].miiStatus, "down");
    EXPECT_EQ(bond->slaves[1].interface, "eth1");
    EXPECT_EQ(bond->slaves[1].miiStatus, "up");
}

TEST(BondingStatus, DriverFileHasItsHeaderInBlockOne) {
    expectBothSlaves(decodeBonding(decodeBlockFile(kDriverFile), kDriverHeaderBlock));
}

TEST(BondingStatus, TessaraCopyHasItsHeaderInBlockZero) {
    expectBothSlaves(decodeBonding(decodeBlockFile(withoutVersionBlock()), kTessaraHeaderBlock));
}

TEST(BondingStatus, HeaderKeepsTheDelays) {
    const auto bond = decodeBonding(decodeBlockFile(kDriverFile), kDriverHeaderBlock);
    ASSERT_TRUE(bond.has_value());
    EXPECT_EQ(bond->upDelay, 200);
    EXPECT_EQ(bond->downDelay, 300);
    EXPECT_THAT(bond->unread, IsEmpty());
}

TEST(BondingStatus, SlaveKeepsItsTexts) {
    const auto bond = decodeBonding(decodeBlockFile(kDriverFile), kDriverHeaderBlock);
    ASSERT_TRUE(bond.has_value());
    EXPECT_EQ(bond->slaves[1].speed, "1000 Mbps");
    EXPECT_EQ(bond->slaves[1].duplex, "full");
    EXPECT_EQ(bond->slaves[1].linkFailureCount, "1");
    EXPECT_EQ(bond->slaves[1].permanentAddress, "00:1b:c5:00:00:02");
    EXPECT_EQ(bond->slaves[1].queueId, "7");
}

TEST(BondingStatus, DriverFileNeedsFourBlocks) {
    EXPECT_TRUE(decodeBonding({{{"v", "1"}}, {{"h", "1"}}, {{"s", "0"}}, {{"s", "1"}}},
                              kDriverHeaderBlock));
    EXPECT_FALSE(decodeBonding({{{"v", "1"}}, {{"h", "1"}}, {{"s", "0"}}}, kDriverHeaderBlock));
}

TEST(BondingStatus, TessaraCopyNeedsThreeBlocks) {
    EXPECT_TRUE(decodeBonding({{{"h", "1"}}, {{"s", "0"}}, {{"s", "1"}}}, kTessaraHeaderBlock));
    EXPECT_FALSE(decodeBonding({{{"h", "1"}}, {{"s", "0"}}}, kTessaraHeaderBlock));
}

TEST(BondingStatus, NoBlocksAtAllGiveNothing) {
    EXPECT_FALSE(decodeBonding({}, kDriverHeaderBlock));
    EXPECT_FALSE(decodeBonding({}, kTessaraHeaderBlock));
}

TEST(BondingStatus, MissingKeysGiveEmptyTexts) {
    const auto bond = decodeBonding({{{"x", ""}}, {{"x", ""}}, {{"x", ""}}}, kTessaraHeaderBlock);
    ASSERT_TRUE(bond.has_value());
    EXPECT_EQ(bond->activeSlave, "");
    EXPECT_EQ(bond->miiStatus, "");
    EXPECT_EQ(bond->slaves[0].interface, "");
    EXPECT_EQ(bond->slaves[1].queueId, "");
}

TEST(BondingStatus, DelayThatIsNoIntegerIsMinusOneAndReported) {
    const auto bond = decodeBonding({{{"Up Delay (ms)", "soon"}}, {{"s", "0"}}, {{"s", "1"}}},
                                    kTessaraHeaderBlock);
    ASSERT_TRUE(bond.has_value());
    EXPECT_EQ(bond->upDelay, -1);
    EXPECT_EQ(bond->downDelay, -1);
    EXPECT_THAT(bond->unread, ElementsAre(UnreadInteger{"Up Delay (ms)", "soon"},
                                          UnreadInteger{"Down Delay (ms)", ""}));
}

struct MiiCase {
    const char* name;
    const char* text;
    PortStatus status;
};

class PortStatusOf : public testing::TestWithParam<MiiCase> {};

TEST_P(PortStatusOf, MiiText) {
    EXPECT_EQ(decodePortStatus(GetParam().text), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    Table, PortStatusOf,
    testing::Values(MiiCase{"Down", "down", PortStatus::linkDown},
                    MiiCase{"StartsWithDown", "down for 3 s", PortStatus::linkDown},
                    MiiCase{"Up", "up", PortStatus::linkUp},
                    MiiCase{"StartsWithUp", "up and running", PortStatus::linkUp},
                    MiiCase{"GoingDown", "going down", PortStatus::other},
                    MiiCase{"OtherCase", "Up", PortStatus::other},
                    MiiCase{"Empty", "", PortStatus::other}),
    [](const auto& row) { return row.param.name; });

struct ActiveCase {
    const char* name;
    const char* activeSlave;
    PortStatuses statuses;
};

BondSlave makeSlave(const char* interface, const char* miiStatus) {
    BondSlave slave;
    slave.interface = interface;
    slave.miiStatus = miiStatus;
    return slave;
}

class PortStatusesByBond : public testing::TestWithParam<ActiveCase> {};

// The link of eth0 is up, the one of eth1 is down.
TEST_P(PortStatusesByBond, ActiveSlave) {
    BondingStatus bond;
    bond.activeSlave = GetParam().activeSlave;
    bond.slaves = {makeSlave("eth0", "up"), makeSlave("eth1", "down")};
    EXPECT_EQ(computeStatuses(makeEthernetPorts(), {}, bond), GetParam().statuses);
}

INSTANTIATE_TEST_SUITE_P(
    Table, PortStatusesByBond,
    testing::Values(ActiveCase{"Up", "eth0", {PortStatus::active, PortStatus::linkDown}},
                    ActiveCase{"Down", "eth1", {PortStatus::linkUp, PortStatus::linkDown}},
                    ActiveCase{"None", "", {PortStatus::linkUp, PortStatus::linkDown}}),
    [](const auto& row) { return row.param.name; });

TEST(PortStatusesByABond, PortThatIsNotASlaveKeepsItsStatus) {
    BondingStatus bond;
    bond.activeSlave = "eth1";
    bond.slaves[1] = makeSlave("eth1", "up");
    EXPECT_EQ(computeStatuses(makeEthernetPorts(), {PortStatus::other, PortStatus::linkDown}, bond),
              (PortStatuses{PortStatus::other, PortStatus::active}));
}

}  // namespace

}  // namespace systemstate
