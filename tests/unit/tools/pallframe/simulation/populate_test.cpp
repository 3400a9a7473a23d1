#include "pallframe/simulation/populate.h"

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/paths.h"
#include "pallframe/simulation/stub_programs.h"
#include "temporary_frame.h"

using namespace pallframe::simulation;

namespace {

class Furnish : public TemporaryFrame, public testing::WithParamInterface<const char*> {};

constexpr auto kAllProducts = {"Quorane", "Tessara", "Tessara-5ru", "QuoraneBrio", "KELI"};

std::string testName(const testing::TestParamInfo<const char*>& info) {
    std::string name = info.param;
    name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
    return name;
}

INSTANTIATE_TEST_SUITE_P(Products, Furnish, testing::ValuesIn(kAllProducts), testName);

TEST_P(Furnish, ThePartsOfEveryFrameAreThere) {
    furnishAs(GetParam());
    EXPECT_EQ(productOf(tree).name, GetParam());
    EXPECT_EQ(tree.read(paths::kEeprom).find("PRODUCT=" + std::string(GetParam()) + "\n"), 0U);
    EXPECT_EQ(tree.read(paths::kBuild), "VERSION=\"4.2.1\"\nPROJECT_SVN=\"31415\"\n");
    EXPECT_EQ(tree.read(paths::kNetwork),
              "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    EXPECT_EQ(tree.read(paths::kAddress), "00:11:22:33:44:55\n");
    EXPECT_EQ(bondOf(tree).active, "eth0");
    EXPECT_EQ(powerOf(tree), Power{});
    for (const std::string& program : programPaths()) {
        EXPECT_TRUE(tree.exists(program)) << program;
    }
}

TEST_P(Furnish, OnlyATessaraFrameHasItsOwnFiles) {
    furnishAs(GetParam());
    const bool tessara = productOf(tree).tessara;
    EXPECT_EQ(tree.exists(paths::kBondCopy), tessara);
    EXPECT_EQ(tree.exists(paths::kDetection), tessara);
    EXPECT_EQ(tree.exists(paths::kDeviceLabels), tessara);
}

TEST_P(Furnish, OnlyABrioHasUnits) {
    furnishAs("QuoraneBrio");
    furnishAs(GetParam());
    const bool isBrio = GetParam() == std::string_view("QuoraneBrio");
    EXPECT_EQ(tree.exists("/etc/systemd/system/ssh.service"), isBrio);
    EXPECT_EQ(tree.exists("/etc/systemd/system/vsftpd.service"), isBrio);
}

TEST_P(Furnish, ATreeBecomesAnotherProductWithoutRemains) {
    furnishAs("Tessara");
    setCable(tree, "eth0", false);
    setSupply(tree, 1, 3);
    tree.setAside(paths::kNetwork);
    ASSERT_EQ(runProgram(tree, {"/etc/init.d/S50dropbear", "restart"}), 0);
    furnishAs(GetParam());
    EXPECT_EQ(bondOf(tree).active, "eth0");
    EXPECT_EQ(powerOf(tree), Power{});
    EXPECT_TRUE(tree.filesSetAside().empty());
    EXPECT_FALSE(tree.exists(paths::kCommands));
    EXPECT_FALSE(tree.exists(paths::kServices));
    EXPECT_EQ(tree.exists(paths::kBondCopy), productOf(tree).tessara);
    EXPECT_EQ(tree.exists(paths::kRegisters), productOf(tree).hasXADC);
}

TEST_F(TemporaryFrame, FrameDetectionFindsTheProductsType) {
    furnishAs("Tessara-5ru");
    EXPECT_EQ(tree.read(paths::kDetection),
              "Frame Type: 5\nFrame Size: 3\nSlot Count: 16\nPL Rev: 7\n");
}

}  // namespace
