#include "pallframe/simulation/populate.h"

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/stub_programs.h"
#include "temporary_frame.h"

using namespace pallframe::simulation;

namespace {

class Populate : public TemporaryFrame, public testing::WithParamInterface<const char*> {};

constexpr auto kAllProducts = {"Quorane", "Tessara", "Tessara-5ru", "QuoraneBrio", "KELI"};

std::string testName(const testing::TestParamInfo<const char*>& info) {
    std::string name = info.param;
    name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
    return name;
}

INSTANTIATE_TEST_SUITE_P(Products, Populate, testing::ValuesIn(kAllProducts), testName);

TEST_P(Populate, ThePartsOfEveryFrameAreThere) {
    populateAs(GetParam());
    EXPECT_EQ(readProduct(tree).name, GetParam());
    EXPECT_EQ(tree.read(paths::kEeprom).find("PRODUCT=" + std::string(GetParam()) + "\n"), 0U);
    EXPECT_EQ(tree.read(paths::kBuild), "VERSION=\"4.2.1\"\nPROJECT_SVN=\"31415\"\n");
    EXPECT_EQ(tree.read(paths::kNetwork),
              "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    EXPECT_EQ(tree.read(paths::kAddress), "00:11:22:33:44:55\n");
    EXPECT_EQ(readBond(tree).active, "eth0");
    EXPECT_EQ(readPower(tree), Power{});
    for (const std::string& program : programPaths()) {
        EXPECT_TRUE(tree.exists(program)) << program;
    }
}

TEST_P(Populate, OnlyATessaraFrameHasItsOwnFiles) {
    populateAs(GetParam());
    const bool tessara = readProduct(tree).tessara;
    EXPECT_EQ(tree.exists(paths::kBondCopy), tessara);
    EXPECT_EQ(tree.exists(paths::kDetection), tessara);
    EXPECT_EQ(tree.exists(paths::kDeviceLabels), tessara);
}

TEST_P(Populate, OnlyABrioHasUnits) {
    populateAs("QuoraneBrio");
    populateAs(GetParam());
    const bool isBrio = GetParam() == std::string_view("QuoraneBrio");
    EXPECT_EQ(tree.exists("/etc/systemd/system/ssh.service"), isBrio);
    EXPECT_EQ(tree.exists("/etc/systemd/system/vsftpd.service"), isBrio);
}

TEST_P(Populate, ATreeBecomesAnotherProductWithoutRemains) {
    populateAs("Tessara");
    setCable(tree, "eth0", false);
    setSupply(tree, 1, 3);
    tree.setAside(paths::kNetwork);
    ASSERT_EQ(runProgram(tree, {"/etc/init.d/S50dropbear", "restart"}), 0);
    populateAs(GetParam());
    EXPECT_EQ(readBond(tree).active, "eth0");
    EXPECT_EQ(readPower(tree), Power{});
    EXPECT_TRUE(tree.filesSetAside().empty());
    EXPECT_FALSE(tree.exists(paths::kCommands));
    EXPECT_FALSE(tree.exists(paths::kServices));
    EXPECT_EQ(tree.exists(paths::kBondCopy), readProduct(tree).tessara);
    EXPECT_EQ(tree.exists(paths::kRegisters), readProduct(tree).hasXADC);
}

TEST_F(TemporaryFrame, FrameDetectionFindsTheProductsType) {
    populateAs("Tessara-5ru");
    EXPECT_EQ(tree.read(paths::kDetection),
              "Frame Type: 5\nFrame Size: 3\nSlot Count: 16\nPL Rev: 7\n");
}

}  // namespace
