#include "harness/frame.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <signal.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "harness/process.h"
#include "harness/syslog_receiver.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
namespace paths = pallframe::simulation::paths;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

struct Result {
    int status;
    std::string output;
    bool operator==(const Result&) const = default;
};

Result run(const std::vector<std::string>& words) {
    Process process(words);
    const int status = process.waitForEnd();
    return {status, process.output().waitForEnd()};
}

// As the daemon does: through the shell, with nothing but its default search path.
Result shell(const std::string& command) {
    return run({"/usr/bin/env", "-i", "/bin/sh", "-c", command});
}

TEST(Inside, IsRootOfItsOwnProcesses) {
    EXPECT_EQ(::geteuid(), 0U);
    EXPECT_LT(::getpid(), 100);
    EXPECT_EQ(::kill(1, 0), 0);
}

std::set<std::string> interfacesThatAreUp() {
    ifaddrs* first = nullptr;
    pallframe::simulation::check(::getifaddrs(&first), "getifaddrs");
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(first, ::freeifaddrs);
    std::set<std::string> names;
    for (const ifaddrs* one = first; one != nullptr; one = one->ifa_next) {
        if ((one->ifa_flags & IFF_UP) != 0) {
            names.insert(one->ifa_name);
        }
    }
    return names;
}

TEST(Inside, OnlyLoopbackIsUp) {
    EXPECT_THAT(interfacesThatAreUp(), ElementsAre("lo"));
}

TEST(Inside, TheHostsProgramsCannotBeWritten) {
    EXPECT_EQ(::access("/usr/bin/env", X_OK), 0);
    EXPECT_EQ(::access("/usr/bin", W_OK), -1);
    struct statvfs mounted {};
    ASSERT_EQ(::statvfs("/usr/bin", &mounted), 0);
    EXPECT_NE(mounted.f_flag & ST_RDONLY, 0U) << "also where only root could write";
}

// Breaking a script breaks it in its own frame only.
TEST(Inside, TheProgramBehindTheScriptsCannotBeChanged) {
    EXPECT_EQ(shell("chmod -x /etc/init.d/S40network 2>/dev/null").status, 1);
    EXPECT_EQ(shell("/etc/init.d/S40network restart").status, 0);
}

TEST(Inside, TheProgramsBesideItsOwnAreAtHand) {
    EXPECT_EQ(run({"sh", "-c", "command -v pallctl"}).output,
              (programDirectory() / "pallctl").string() + "\n");
    EXPECT_EQ(run({"sh", "-c", "command -v pallframe"}).output, "/usr/local/sbin/pallframe\n");
}

TEST(Inside, ProcessesFindThemselves) {
    EXPECT_EQ(std::filesystem::read_symlink("/proc/self/exe"), programDirectory() / "system_tests");
    const std::string own = "/proc/" + std::to_string(::getpid()) + "/exe";
    EXPECT_EQ(std::filesystem::read_symlink(own), programDirectory() / "system_tests");
}

TEST(Inside, TheCurrentDirectoryIsTheProjects) {
    EXPECT_TRUE(std::filesystem::exists("CMakePresets.json"));
}

class Products : public testing::TestWithParam<const char*> {};

INSTANTIATE_TEST_SUITE_P(All, Products,
                         testing::Values("Quorane", "Tessara", "Tessara-5ru", "QuoraneBrio",
                                         "KELI"));

TEST_P(Products, TheShellReadsTheName) {
    const Frame frame(GetParam());
    EXPECT_EQ(shell(". /tmp/eeprom && echo $PRODUCT"), (Result{0, GetParam() + std::string("\n")}));
}

TEST_P(Products, TheFilesOfTheProductAreThere) {
    const Frame frame(GetParam());
    const bool tessara = std::string(GetParam()).find("Tessara") == 0;
    EXPECT_EQ(frame.exists("/tmp/bond0"), tessara);
    EXPECT_EQ(frame.exists("/tmp/tessaradetect.txt"), tessara);
    EXPECT_THAT(frame.read("/proc/net/bonding/bond0"), HasSubstr("Currently Active Slave: eth0\n"));
    EXPECT_EQ(frame.read("/sys/class/net/eth0/address"), "00:11:22:33:44:55\n");
    EXPECT_THAT(frame.read("/vantor/etc/network.conf"), HasSubstr("IPADDR=10.0.0.5\n"));
}

TEST(Frame, AnUnknownProductIsRefused) {
    EXPECT_THROW(Frame("Quasar"), pallframe::simulation::FrameError);
}

TEST(Frame, IfenslaveSwapsThePort) {
    const Frame frame;
    EXPECT_EQ(shell("/sbin/ifenslave --change-active bond0 eth1").status, 0);
    EXPECT_THAT(frame.read("/proc/net/bonding/bond0"), HasSubstr("Currently Active Slave: eth1\n"));
    EXPECT_THAT(frame.commands(), ElementsAre("/sbin/ifenslave --change-active bond0 eth1"));
}

TEST(Frame, DevmemLoadsTheBattery) {
    const Frame frame("KELI");
    const std::string idle = frame.read(paths::kRegisters);
    EXPECT_EQ(shell("/sbin/devmem 0x8aa00014 32 0x01").status, 0);
    EXPECT_NE(frame.read(paths::kRegisters), idle);
    EXPECT_EQ(shell("/sbin/devmem 0x8aa00014 32 0x00").status, 0);
    EXPECT_EQ(frame.read(paths::kRegisters), idle);
}

TEST(Frame, ServiceToolsAreTheFramesOwn) {
    const Frame frame("QuoraneBrio");
    EXPECT_EQ(shell("sudo systemctl start ssh").status, 0);
    EXPECT_EQ(shell("pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'").status, 1);
    EXPECT_THAT(frame.commands(), ElementsAre("sudo systemctl start ssh", "systemctl start ssh",
                                              "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'"));
    EXPECT_EQ(frame.read("/run/frame/services/ssh"), "running");
}

TEST(Frame, ProgramsInTheBackgroundAreNotedToo) {
    const Frame frame;
    EXPECT_EQ(shell("/etc/init.d/S81ambrix start &").status, 0);
    EXPECT_THAT(frame.waitForCommands(1), ElementsAre("/etc/init.d/S81ambrix start"));
}

TEST(Frame, AProgramCanBeReplaced) {
    const Frame frame;
    frame.writeProgram("/vantor/bin/restartNetworking.sh", "#!/bin/sh\nexit 3\n");
    EXPECT_EQ(shell("/vantor/bin/restartNetworking.sh").status, 3);
}

TEST(Frame, IsSetAndShownFromInside) {
    const Frame frame("Tessara");
    EXPECT_EQ(shell("pallframe set cable eth0 down && pallframe set psu 1 11.9").status, 0);
    EXPECT_EQ(shell("pallframe set file /tmp/eeprom missing").status, 0);
    EXPECT_EQ(shell("pallframe status").output,
              "WHAT     NAME         STATE\n"
              "product               Tessara\n"
              "port     eth0         down, failures: 1\n"
              "port     eth1         up, active\n"
              "supply   1            11.90 V\n"
              "supply   2            12.00 V\n"
              "battery               3.10 V\n"
              "file     /tmp/eeprom  missing\n");
    EXPECT_FALSE(frame.exists("/tmp/eeprom"));
}

TEST(Frame, WaitingForCommandsEnds) {
    const Frame frame;
    EXPECT_THROW(frame.waitForCommands(1, Deadline(std::chrono::milliseconds(10))), TimedOut);
}

}  // namespace
