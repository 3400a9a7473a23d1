#include "pallframe/simulation/devices.h"

#include <array>
#include <string>
#include <thread>

#include "pallframe/simulation/frame_paths.h"
#include "temporary_frame.h"

using namespace pallframe::simulation;

namespace {

class Devices : public TemporaryFrame {};

TEST_F(Devices, ATreeThatIsNoFrameIsRefused) {
    EXPECT_THROW(readProduct(tree), FrameError);
    EXPECT_THROW(setCable(tree, "eth0", false), std::exception);
}

TEST_F(Devices, APulledCableShowsInTheBondingFile) {
    populateAs("Quorane");
    setCable(tree, "eth0", false);
    EXPECT_EQ(readBond(tree).active, "eth1");
    EXPECT_FALSE(readBond(tree).slaves.at(0).up);
    EXPECT_FALSE(tree.exists(paths::kBondCopy));
}

TEST_F(Devices, ATessaraFrameKeepsACopyWithoutDriverLine) {
    populateAs("Tessara");
    setCable(tree, "eth0", false);
    const std::string copy = tree.read(paths::kBondCopy);
    EXPECT_EQ(copy.find("Bonding Mode"), 0U);
    EXPECT_EQ(parseBond(copy), readBond(tree));
    EXPECT_EQ(parseBond(copy).active, "eth1");
}

TEST_F(Devices, ABondThatATestWroteIsTakenAsItIs) {
    populateAs("Quorane");
    tree.replace(paths::kBond, renderBond({{{"eth0"}, {"eth1"}}, "eth1"}, true));
    setCable(tree, "eth0", false);
    EXPECT_EQ(readBond(tree).active, "eth1");
}

TEST_F(Devices, AnUnknownCableIsRefused) {
    populateAs("Quorane");
    EXPECT_THROW(setCable(tree, "eth7", false), FrameError);
}

TEST_F(Devices, ThePortIsSwappedOnlyToALinkThatIsUp) {
    populateAs("Quorane");
    EXPECT_TRUE(swapActivePort(tree, "eth1"));
    EXPECT_EQ(readBond(tree).active, "eth1");
    setCable(tree, "eth0", false);
    EXPECT_FALSE(swapActivePort(tree, "eth0"));
    EXPECT_FALSE(swapActivePort(tree, "eth9"));
    EXPECT_EQ(readBond(tree).active, "eth1");
}

TEST_F(Devices, SuppliesAndBatteryReachTheRegisters) {
    populateAs("KELI");
    setSupply(tree, 1, 11.9);
    setSupply(tree, 2, 0);
    setBattery(tree, 2.5);
    const Power expected{11.9, 0, 2.5, false};
    EXPECT_EQ(readPower(tree), expected);
    EXPECT_EQ(tree.read(paths::kRegisters),
              renderRegisters(expected, findProduct("KELI")->battery));
    EXPECT_THROW(setSupply(tree, 3, 12), FrameError);
    EXPECT_THROW(setSupply(tree, 0, 12), FrameError);
}

TEST_F(Devices, TheBatteryLoadChangesTheRegisters) {
    populateAs("Quorane");
    const std::string idle = tree.read(paths::kRegisters);
    setBatteryLoad(tree, true);
    EXPECT_NE(tree.read(paths::kRegisters), idle);
    setBatteryLoad(tree, false);
    EXPECT_EQ(tree.read(paths::kRegisters), idle);
}

TEST_F(Devices, ABrioHasNoXadc) {
    populateAs("QuoraneBrio");
    setSupply(tree, 1, 5);
    EXPECT_FALSE(tree.exists(paths::kRegisters));
}

TEST_F(Devices, AMissingFileComesBackWithThePresentState) {
    populateAs("Quorane");
    tree.setAside(paths::kBond);
    tree.setAside(paths::kRegisters);
    setCable(tree, "eth0", false);
    setSupply(tree, 1, 7);
    EXPECT_FALSE(tree.exists(paths::kBond));
    EXPECT_FALSE(tree.exists(paths::kRegisters));
    tree.restore(paths::kBond);
    tree.restore(paths::kRegisters);
    EXPECT_EQ(readBond(tree).active, "eth1");
    EXPECT_EQ(tree.read(paths::kRegisters),
              renderRegisters(readPower(tree), findProduct("Quorane")->battery));
}

TEST_F(Devices, ChangesOfTwoProgramsAreBothKept) {
    populateAs("Quorane");
    const auto turn = [this](int number, double Power::*volts) {
        for (int i = 0; i < 300; ++i) {
            setSupply(tree, number, i % 29);
            ASSERT_EQ(readPower(tree).*volts, i % 29);
        }
    };
    std::thread other([&] { turn(1, &Power::psu1); });
    turn(2, &Power::psu2);
    other.join();
}

}  // namespace
