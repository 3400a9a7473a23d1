#include "pallframe/simulation/stub_programs.h"

#include <algorithm>
#include <chrono>

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "temporary_frame.h"

using namespace pallframe::simulation;

namespace {

class Programs : public TemporaryFrame {
  protected:
    Programs() {
        populateAs("Quorane");
        setPause(tree, "S40network", 0);
    }

    int run(const std::vector<std::string>& words) { return runProgram(tree, words); }
    std::string service(const std::string& name) {
        return tree.read("/run/frame/services/" + name);
    }
};

TEST_F(Programs, AreKnownByTheirNameInAnyDirectory) {
    EXPECT_TRUE(isProgram("/etc/init.d/S40network"));
    EXPECT_TRUE(isProgram("pkill"));
    EXPECT_FALSE(isProgram("/usr/bin/pallframe"));
    EXPECT_FALSE(isProgram(""));
    EXPECT_THROW(run({"unknown"}), FrameError);
}

TEST_F(Programs, WriteDownWhatTheyWereToldInOrder) {
    run({"/etc/init.d/S40network", "restart"});
    run({"/etc/init.d/S53slpreg"});
    run({"pkill", "-f", "/bin/sh /vantor/bin/ambrix-shutoff.sh"});
    EXPECT_EQ(tree.read(paths::kCommands),
              "/etc/init.d/S40network restart\n"
              "/etc/init.d/S53slpreg\n"
              "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'\n");
}

TEST_F(Programs, QuoteWhatAShellWouldTakeApart) {
    EXPECT_EQ(commandLine({"a", "", "b c", "$d", "--e=f"}), "a '' 'b c' '$d' --e=f");
    EXPECT_EQ(commandLine({"it's", "'"}), "'it'\\''s' ''\\'''");
}

TEST_F(Programs, WriteDownALineEndOnTheirLine) {
    EXPECT_EQ(commandLine({"one\ntwo"}), "'one'$'\\n''two'");
    run({"/etc/init.d/S40network", "a\nb"});
    run({"/etc/init.d/S53slpreg"});
    const std::string calls = tree.read(paths::kCommands);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), '\n'), 2);
}

struct ServiceCase {
    std::vector<std::string> words;
    const char* service;
    const char* state;
};

const ServiceCase kServiceCases[] = {
    {{"/etc/init.d/S40network", "restart"}, "network", "running"},
    {{"/etc/init.d/S50dropbear", "restart"}, "ssh", "running"},
    {{"/etc/init.d/S50dropbear", "stop"}, "ssh", "stopped"},
    {{"/etc/init.d/S53slpreg"}, "slpreg", "running"},
    {{"/etc/init.d/S54openslp", "restart"}, "openslp", "running"},
    {{"/etc/init.d/S56tcpsvd", "restart"}, "ftp", "running"},
    {{"/etc/init.d/S56tcpsvd", "stop"}, "ftp", "stopped"},
    {{"/etc/init.d/S80tarnaview", "restart"}, "tarnaview", "running"},
    {{"/etc/init.d/S81ambrix", "start"}, "ambrix", "running"},
    {{"/etc/init.d/S81ambrix", "stop"}, "ambrix", "stopped"},
    {{"/vantor/bin/ambrixsrvlaunch.sh"}, "ambrix", "running"},
    {{"/vantor/bin/ambrix-shutoff.sh"}, "ambrix-shutoff", "running"},
    {{"/vantor/bin/brio-ambrix-shutoff.sh"}, "ambrix-shutoff", "running"},
    {{"/vantor/bin/restartNetworking.sh"}, "network", "running"},
};

const ServiceCase kUnitCases[] = {
    {{"systemctl", "start", "ssh"}, "ssh", "running"},
    {{"systemctl", "stop", "ssh"}, "ssh", "stopped"},
    {{"systemctl", "start", "vsftpd"}, "ftp", "running"},
    {{"systemctl", "stop", "vsftpd"}, "ftp", "stopped"},
};

TEST_F(Programs, KeepTheStateOfTheirService) {
    for (const ServiceCase& one : kServiceCases) {
        EXPECT_EQ(run(one.words), 0) << commandLine(one.words);
        EXPECT_EQ(service(one.service), one.state) << commandLine(one.words);
    }
}

TEST_F(Programs, ReportsAndRestartsAnswerWithSuccess) {
    EXPECT_EQ(run({"/vantor/bin/briskel", "easy"}), 0);
    EXPECT_EQ(run({"/vantor/bin/keli-ip-changed-restart.sh"}), 0);
}

TEST_F(Programs, SystemctlSwitchesTheUnitsOfABrio) {
    populateAs("QuoraneBrio");
    for (const ServiceCase& one : kUnitCases) {
        EXPECT_EQ(run(one.words), 0) << commandLine(one.words);
        EXPECT_EQ(service(one.service), one.state) << commandLine(one.words);
    }
}

TEST_F(Programs, AUnitThatIsNotThereIsNotSwitched) {
    populateAs("QuoraneBrio");
    EXPECT_EQ(run({"systemctl", "start", "nginx"}), 5);
    EXPECT_EQ(run({"systemctl"}), 5);
    tree.setAside("/etc/systemd/system/ssh.service");
    EXPECT_EQ(run({"systemctl", "start", "ssh"}), 5);
    EXPECT_EQ(service("ssh"), "");
    populateAs("Quorane");
    EXPECT_EQ(run({"systemctl", "start", "vsftpd"}), 5) << "no Brio";
}

TEST_F(Programs, PkillEndsWhatRunsAndFindsNothingElse) {
    EXPECT_EQ(run({"pkill", "ambrixsrvtst"}), 1);
    run({"/vantor/bin/ambrixsrvlaunch.sh"});
    run({"/vantor/bin/brio-ambrix-shutoff.sh"});
    EXPECT_EQ(run({"pkill", "ambrixsrvtst"}), 0);
    EXPECT_EQ(service("ambrix"), "stopped");
    EXPECT_EQ(run({"pkill", "brio-ambrix-shu"}), 0);
    EXPECT_EQ(service("ambrix-shutoff"), "stopped");
    EXPECT_EQ(run({"pkill", "brio-ambrix-shu"}), 1);
    EXPECT_EQ(run({"pkill", "init"}), 1);
    EXPECT_EQ(run({"pkill"}), 1);
}

TEST_F(Programs, PkillFindsACommandLineOnlyWhenAskedTo) {
    run({"/vantor/bin/ambrix-shutoff.sh"});
    EXPECT_EQ(run({"pkill", "/bin/sh /vantor/bin/ambrix-shutoff.sh"}), 1);
    EXPECT_EQ(run({"pkill", "-f", "/bin/sh /vantor/bin/ambrix-shutoff.sh"}), 0);
    EXPECT_EQ(service("ambrix-shutoff"), "stopped");
}

TEST_F(Programs, PkillDoesNotTakeTheUncutNameOfAProcess) {
    run({"/vantor/bin/brio-ambrix-shutoff.sh"});
    EXPECT_EQ(run({"pkill", "brio-ambrix-shutoff.sh"}), 1);
    EXPECT_EQ(service("ambrix-shutoff"), "running");
}

TEST_F(Programs, IfenslaveSwapsTheActivePort) {
    EXPECT_EQ(run({"/sbin/ifenslave", "--change-active", "bond0", "eth1"}), 0);
    EXPECT_EQ(readBond(tree).active, "eth1");
    setCable(tree, "eth0", false);
    EXPECT_EQ(run({"/sbin/ifenslave", "--change-active", "bond0", "eth0"}), 1);
    EXPECT_EQ(readBond(tree).active, "eth1");
}

TEST_F(Programs, IfenslaveRefusesOtherWords) {
    EXPECT_EQ(run({"/sbin/ifenslave", "bond0", "eth1"}), 2);
    EXPECT_EQ(run({"/sbin/ifenslave", "--change-active", "bond1", "eth1"}), 2);
    EXPECT_EQ(readBond(tree).active, "eth0");
}

TEST_F(Programs, DevmemSwitchesTheBatteryLoad) {
    EXPECT_EQ(run({"/sbin/devmem", "0x8aa00014", "32", "0x01"}), 0);
    EXPECT_TRUE(readPower(tree).loaded);
    EXPECT_EQ(run({"/sbin/devmem", "0x8aa00014", "32", "0x00"}), 0);
    EXPECT_FALSE(readPower(tree).loaded);
}

TEST_F(Programs, DevmemLeavesTheLoadAloneAtOtherAddresses) {
    EXPECT_EQ(run({"/sbin/devmem", "0x8aa00018", "32", "0x01"}), 0);
    EXPECT_EQ(run({"/sbin/devmem", "0x8aa00014"}), 1);
    EXPECT_FALSE(readPower(tree).loaded);
}

TEST_F(Programs, AProgramTakesTheTimeItIsSetTo) {
    setPause(tree, "S40network", 0.05);
    const auto start = std::chrono::steady_clock::now();
    run({"/etc/init.d/S40network", "restart"});
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_THROW(setPause(tree, "nothing", 1), FrameError);
}

TEST_F(Programs, SudoWithoutWordsFails) {
    EXPECT_EQ(run({"sudo"}), 1);
}

}  // namespace
