#include "systemstate/service_control.h"

#include <algorithm>
#include <utility>

#include <gmock/gmock.h>

#include "frame_root.h"
#include "recording_machine.h"
#include "support/captured_log.h"

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Line = CapturedLog::Line;

using Switch = void (ServiceControl::*)(bool running);

// One action of a service with a single command.
struct SingleCase {
    const char* name;
    Switch set;
    Edition edition;
    bool running;
    const char* command;
    const char* done;
    const char* failed;
};

class SingleCommand : public testing::TestWithParam<SingleCase> {
  protected:
    void apply() {
        ServiceControl services(machine, GetParam().edition);
        (services.*GetParam().set)(GetParam().running);
    }

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
    testing::Values(SingleCase{"EnableInBrio", &ServiceControl::setSshRunning, Edition::brio, true,
                               "sudo systemctl start ssh", "SSH server started in Brio",
                               "Error starting SSH Server"},
                    SingleCase{"EnableInTessara", &ServiceControl::setSshRunning, Edition::tessara,
                               true, "/etc/init.d/S50dropbear restart",
                               "SSH server restarted in Tessara", "Error starting SSH Server"},
                    SingleCase{"DisableInBrio", &ServiceControl::setSshRunning, Edition::brio,
                               false, "sudo systemctl stop ssh", "SSH server stopped in Brio",
                               "Error stopping SSH Server"},
                    SingleCase{"DisableInTessara", &ServiceControl::setSshRunning, Edition::tessara,
                               false, "/etc/init.d/S50dropbear stop",
                               "SSH server stopped in Tessara", "Error stopping SSH Server"}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Ftp, SingleCommand,
    testing::Values(SingleCase{"EnableInBrio", &ServiceControl::setFtpRunning, Edition::brio, true,
                               "sudo systemctl start vsftpd", "FTP server started in Brio",
                               "Error starting FTP Server"},
                    SingleCase{"EnableInTessara", &ServiceControl::setFtpRunning, Edition::tessara,
                               true, "/etc/init.d/S56tcpsvd restart",
                               "FTP server restarted in Tessara", "Error starting FTP Server"},
                    SingleCase{"DisableInBrio", &ServiceControl::setFtpRunning, Edition::brio,
                               false, "sudo systemctl stop vsftpd", "FTP server stopped in Brio",
                               "Error stopping FTP Server"},
                    SingleCase{"DisableInTessara", &ServiceControl::setFtpRunning, Edition::tessara,
                               false, "/etc/init.d/S56tcpsvd stop", "FTP server stopped in Tessara",
                               "Error stopping FTP Server"}),
    caseName);

// What is done to Ambrix, which has two commands, after what was done before.
struct AmbrixCase {
    const char* name;
    bool running;
    Edition edition;
    const char* announcement;
    const char* first;
    const char* second;
    const char* failed;
};

class Ambrix : public testing::TestWithParam<AmbrixCase> {
  protected:
    // Starting it stops it first. What is seen of that is left out here.
    void apply() {
        ServiceControl services(machine, GetParam().edition);
        services.setAmbrixRunning(GetParam().running);
        machine.take();
    }

    // The commands, and the debug lines before each, of the one action.
    std::vector<std::string> orderOfAction() {
        std::vector<std::string> order;
        machine.setOnCommand([&](const std::string& command) {
            for (const Line& line : log.take()) {
                order.push_back(line.text);
            }
            order.push_back(command);
        });
        apply();
        return {order.end() - 3, order.end()};
    }

    // The lines from the announcement on.
    std::vector<Line> linesOfAction() {
        std::vector<Line> lines = log.take();
        const auto first = std::ranges::find(lines, GetParam().announcement, &Line::text);
        return {first, lines.end()};
    }

    RecordingMachine machine{""};
    CapturedLog log;
};

TEST_P(Ambrix, AnnouncesThenRunsBothCommands) {
    EXPECT_THAT(orderOfAction(),
                ElementsAre(GetParam().announcement, GetParam().first, GetParam().second));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_P(Ambrix, AnnouncementIsADebugLine) {
    apply();
    EXPECT_THAT(linesOfAction(), ElementsAre(Line{LOG_DEBUG, GetParam().announcement}));
}

TEST_P(Ambrix, FailureOfTheFirstCommandIsNotLookedAt) {
    machine.setResult(GetParam().first, 256, EAGAIN);
    EXPECT_THAT(orderOfAction(),
                ElementsAre(GetParam().announcement, GetParam().first, GetParam().second));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_P(Ambrix, FailureOfTheSecondCommandIsLogged) {
    machine.setResult(GetParam().second, 256, EAGAIN);
    apply();
    EXPECT_THAT(linesOfAction(),
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
        AmbrixCase{"StopInBrio", false, Edition::brio, "disabling ambrix in Quorane Brio...\n",
                   "pkill ambrixsrvtst", "pkill brio-ambrix-shu", "Error stopping Ambrix"},
        AmbrixCase{"StopInTessara", false, Edition::tessara, "disabling ambrix in Tessara...\n",
                   "/etc/init.d/S81ambrix stop", "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'",
                   "Error stopping Ambrix"},
        AmbrixCase{"StartInBrio", true, Edition::brio, "enabling ambrix in Quorane Brio...\n",
                   "/vantor/bin/ambrixsrvlaunch.sh &", "/vantor/bin/brio-ambrix-shutoff.sh &",
                   "Error starting Ambrix"},
        AmbrixCase{"StartInTessara", true, Edition::tessara, "enabling ambrix in Tessara...\n",
                   "/etc/init.d/S81ambrix start &", "/vantor/bin/ambrix-shutoff.sh &",
                   "Error starting Ambrix"}),
    ambrixName);

TEST(AmbrixStart, ComesAfterItsStop) {
    RecordingMachine machine("");
    ServiceControl(machine, Edition::brio).setAmbrixRunning(true);
    EXPECT_THAT(machine.take(), ElementsAre("pkill ambrixsrvtst", "pkill brio-ambrix-shu",
                                            "/vantor/bin/ambrixsrvlaunch.sh &",
                                            "/vantor/bin/brio-ambrix-shutoff.sh &"));
}

TEST(AmbrixWatch, InBrioIsStoppedByTheFirst15CharactersOfItsName) {
    RecordingMachine machine("");
    ServiceControl(machine, Edition::brio).setAmbrixRunning(false);
    EXPECT_EQ(machine.take().at(1), "pkill " + std::string("brio-ambrix-shutoff.sh").substr(0, 15));
}

class DisabledAmbrix : public testing::Test {
  protected:
    void mark() { root.write("/vantor/etc/ambrixDisabled", ""); }

    FrameRoot root;
    CapturedLog log;
    RecordingMachine machine{root.path()};
    ServiceControl services{machine, Edition::brio};
};

TEST_F(DisabledAmbrix, IsStoppedOnce) {
    services.setAmbrixRunning(true);
    mark();
    machine.take();
    EXPECT_TRUE(services.stopDisabledAmbrix());
    EXPECT_THAT(machine.take(), ElementsAre("pkill ambrixsrvtst", "pkill brio-ambrix-shu"));
    EXPECT_FALSE(services.ambrixStarted());
    EXPECT_FALSE(services.stopDisabledAmbrix());
    EXPECT_THAT(machine.take(), IsEmpty());
}

TEST_F(DisabledAmbrix, IsLeftAloneUnlessTheDaemonStartedIt) {
    mark();
    services.setAmbrixRunning(false);
    machine.take();
    EXPECT_FALSE(services.stopDisabledAmbrix());
    EXPECT_THAT(machine.take(), IsEmpty());
}

TEST_F(DisabledAmbrix, NeedsItsMarker) {
    services.setAmbrixRunning(true);
    EXPECT_FALSE(services.stopDisabledAmbrix());
    EXPECT_TRUE(services.ambrixStarted());
}

TEST_F(DisabledAmbrix, IsStoppedAgainWhenItWasStartedMeanwhile) {
    services.setAmbrixRunning(true);
    mark();
    bool startedMeanwhile = false;
    machine.setOnCommand([&](const std::string&) {
        if (!std::exchange(startedMeanwhile, true)) {
            services.setAmbrixRunning(true);
        }
    });
    EXPECT_TRUE(services.stopDisabledAmbrix());
    EXPECT_TRUE(services.ambrixStarted());
    EXPECT_TRUE(services.stopDisabledAmbrix());
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

}  // namespace systemstate
