#include "systemstate/service_switches.h"

#include <gmock/gmock.h>

#include "frame_root.h"
#include "recording_machine.h"
#include "support/captured_log.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Line = CapturedLog::Line;

using Switch = void (*)(Machine&, Edition, bool);

// One action of a service with a single command.
struct SingleCase {
    const char* name;
    Switch run;
    Edition edition;
    bool enable;
    const char* command;
    const char* done;
    const char* failed;
};

class SingleCommand : public testing::TestWithParam<SingleCase> {
  protected:
    void apply() { GetParam().run(machine, GetParam().edition, GetParam().enable); }

    RecordingMachine machine{""};
    CapturedLog log;
};

TEST_P(SingleCommand, RunsAndLogsTheResult) {
    apply();
    EXPECT_THAT(machine.take(), ElementsAre(GetParam().command));
    EXPECT_THAT(log.take(),
                ElementsAre(Line{LOG_INFO, GetParam().done + std::string(", rv: 0\n")}));
}

TEST_P(SingleCommand, FailureIsLoggedAsAnErrorToo) {
    machine.setResult(GetParam().command, 256, EAGAIN);
    apply();
    EXPECT_THAT(log.take(),
                ElementsAre(Line{LOG_INFO, GetParam().done + std::string(", rv: 256\n")},
                            Line{LOG_ERR, GetParam().failed +
                                              std::string(" - Resource temporarily unavailable")}));
}

TEST_P(SingleCommand, CommandThatCannotBeStartedIsAFailure) {
    machine.setResult(GetParam().command, -1, ENOMEM);
    apply();
    EXPECT_THAT(
        log.take(),
        ElementsAre(Line{LOG_INFO, GetParam().done + std::string(", rv: -1\n")},
                    Line{LOG_ERR, GetParam().failed + std::string(" - Cannot allocate memory")}));
}

std::string caseName(const testing::TestParamInfo<SingleCase>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Ssh, SingleCommand,
    testing::Values(SingleCase{"EnableInBrio", switchSsh, Edition::brio, true,
                               "sudo systemctl start ssh", "SSH server started in Brio",
                               "Error starting SSH Server"},
                    SingleCase{"EnableInTessara", switchSsh, Edition::tessara, true,
                               "/etc/init.d/S50dropbear restart", "SSH server restarted in Tessara",
                               "Error starting SSH Server"},
                    SingleCase{"DisableInBrio", switchSsh, Edition::brio, false,
                               "sudo systemctl stop ssh", "SSH server stopped in Brio",
                               "Error stopping SSH Server"},
                    SingleCase{"DisableInTessara", switchSsh, Edition::tessara, false,
                               "/etc/init.d/S50dropbear stop", "SSH server stopped in Tessara",
                               "Error stopping SSH Server"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Ftp, SingleCommand,
    testing::Values(SingleCase{"EnableInBrio", switchFtp, Edition::brio, true,
                               "sudo systemctl start vsftpd", "FTP server started in Brio",
                               "Error starting FTP Server"},
                    SingleCase{"EnableInTessara", switchFtp, Edition::tessara, true,
                               "/etc/init.d/S56tcpsvd restart", "FTP server restarted in Tessara",
                               "Error starting FTP Server"},
                    SingleCase{"DisableInBrio", switchFtp, Edition::brio, false,
                               "sudo systemctl stop vsftpd", "FTP server stopped in Brio",
                               "Error stopping FTP Server"},
                    SingleCase{"DisableInTessara", switchFtp, Edition::tessara, false,
                               "/etc/init.d/S56tcpsvd stop", "FTP server stopped in Tessara",
                               "Error stopping FTP Server"}),
    caseName);

// One action of Ambrix, which has two commands.
struct AmbrixCase {
    const char* name;
    void (*run)(Machine&, Edition);
    Edition edition;
    const char* announcement;
    const char* first;
    const char* second;
    const char* failed;
};

class Ambrix : public testing::TestWithParam<AmbrixCase> {
  protected:
    void apply() { GetParam().run(machine, GetParam().edition); }

    RecordingMachine machine{""};
    CapturedLog log;
};

TEST_P(Ambrix, AnnouncesThenRunsBothCommands) {
    std::vector<std::string> order;
    machine.setOnCommand([&](const std::string& command) {
        for (const Line& line : log.take()) {
            order.push_back(line.text);
        }
        order.push_back(command);
    });
    apply();
    EXPECT_THAT(order, ElementsAre(GetParam().announcement, GetParam().first, GetParam().second));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_P(Ambrix, AnnouncementIsADebugLine) {
    apply();
    EXPECT_THAT(log.take(), ElementsAre(Line{LOG_DEBUG, GetParam().announcement}));
}

TEST_P(Ambrix, FailureOfTheFirstCommandIsNotLookedAt) {
    machine.setResult(GetParam().first, 256, EAGAIN);
    apply();
    EXPECT_THAT(machine.take(), ElementsAre(GetParam().first, GetParam().second));
    EXPECT_THAT(log.take(), ElementsAre(Line{LOG_DEBUG, GetParam().announcement}));
}

TEST_P(Ambrix, FailureOfTheSecondCommandIsLogged) {
    machine.setResult(GetParam().second, 256, EAGAIN);
    apply();
    EXPECT_THAT(log.take(),
                ElementsAre(Line{LOG_DEBUG, GetParam().announcement},
                            Line{LOG_ERR, GetParam().failed +
                                              std::string(" - Resource temporarily unavailable")}));
}

std::string ambrixName(const testing::TestParamInfo<AmbrixCase>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Table, Ambrix,
    testing::Values(
        AmbrixCase{"StopInBrio", stopAmbrix, Edition::brio, "disabling ambrix in Quorane Brio...\n",
                   "pkill ambrixsrvtst", "pkill brio-ambrix-shu", "Error stopping Ambrix"},
        AmbrixCase{"StopInTessara", stopAmbrix, Edition::tessara,
                   "disabling ambrix in Tessara...\n", "/etc/init.d/S81ambrix stop",
                   "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'", "Error stopping Ambrix"},
        AmbrixCase{"StartInBrio", startAmbrix, Edition::brio,
                   "enabling ambrix in Quorane Brio...\n", "/vantor/bin/ambrixsrvlaunch.sh &",
                   "/vantor/bin/brio-ambrix-shutoff.sh &", "Error starting Ambrix"},
        AmbrixCase{"StartInTessara", startAmbrix, Edition::tessara,
                   "enabling ambrix in Tessara...\n", "/etc/init.d/S81ambrix start &",
                   "/vantor/bin/ambrix-shutoff.sh &", "Error starting Ambrix"}),
    ambrixName);

TEST(AmbrixWatch, InBrioIsStoppedByTheFirst15CharactersOfItsName) {
    RecordingMachine machine("");
    stopAmbrix(machine, Edition::brio);
    EXPECT_EQ(machine.take().at(1), "pkill " + std::string("brio-ambrix-shutoff.sh").substr(0, 15));
}

class DisabledMarker : public testing::TestWithParam<const char*> {};

TEST_P(DisabledMarker, ItsPresenceDisablesTheService) {
    const FrameRoot root;
    const RecordingMachine machine(root.path());
    EXPECT_TRUE(isServiceEnabled(machine, GetParam()));
    root.write(GetParam(), "");
    EXPECT_FALSE(isServiceEnabled(machine, GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Table, DisabledMarker,
                         testing::Values("/vantor/etc/sshServerDisabled",
                                         "/vantor/etc/ftpServerDisabled",
                                         "/vantor/etc/ambrixDisabled"));

}  // namespace
