// pallctl set, with what the real daemon does to its frame.

#include <signal.h>

#include "harness/held_program.h"
#include "harness/terminal.h"
#include "on_pallbus.h"

using harness::Result;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr const char* kStartSSH = "systemctl start ssh";
constexpr const char* kStopSSH = "systemctl stop ssh";

class PallctlSet : public OnPallbus {
  protected:
    PallctlSet() {
        start();
        before_ = frame.commands().size();
    }

    // What the daemon told the init system since it started.
    std::vector<std::string> commands() const {
        std::vector<std::string> all = frame.commands();
        all.erase(all.begin(), all.begin() + static_cast<ptrdiff_t>(before_));
        std::erase_if(all, [](const std::string& each) { return !each.starts_with("systemctl"); });
        return all;
    }

    static std::string valueOf(const std::string& name) { return pallctl({"get", name}).output; }

  private:
    size_t before_ = 0;
};

TEST_F(PallctlSet, TakesValuesInHumanForm) {
    const Result result = pallctl({"set", "sshEnabled=DISABLED", "systemName=Rack 4",
                                   "primaryIPAddress=x", "serial1=connectionPoint=Node 7"});
    EXPECT_EQ(result.status, 2) << "one of them is read-only";
    EXPECT_EQ(valueOf("systemName"), "System\n");

    EXPECT_EQ(pallctl({"set", "sshEnabled=DISABLED", "systemName=Rack 4",
                       "serial1=connectionPoint=Node 7"})
                  .status,
              0);
    EXPECT_EQ(valueOf("sshEnabled"), "Disabled\n");
    EXPECT_EQ(pallctl({"set", "sshEnabled=true", "ftpEnabled=off"}).status, 0);
    EXPECT_EQ(valueOf("sshEnabled"), "Enabled\n");
    EXPECT_EQ(valueOf("ftpEnabled"), "Disabled\n");
    EXPECT_EQ(valueOf("systemName"), "Rack 4\n");
    EXPECT_EQ(valueOf("serial1"), "name=COM2, dev=/dev/ttyS1, connectionPoint=Node 7\n");
    EXPECT_THAT(commands(),
                ElementsAre(kStopSSH, kStartSSH, testing::StartsWith("systemctl stop")));
}

TEST_F(PallctlSet, LeavesServicesAloneThatAreSetAlready) {
    const Result result = pallctl({"set", "sshEnabled=Enabled"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "pallctl: system.sshEnabled: is Enabled already; not sent\n");
    EXPECT_THAT(commands(), IsEmpty());

    EXPECT_EQ(pallctl({"set", "--always", "sshEnabled=Enabled"}).error, "");
    EXPECT_THAT(commands(), ElementsAre(kStartSSH));
}

TEST_F(PallctlSet, SendsNothingInADryRun) {
    const Result result = pallctl({"set", "--dry-run", "sshEnabled=off", "systemName=Rack 4",
                                   "serial1=name=COM2, connectionPoint=Node 7"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "would set system.sshEnabled from Enabled to Disabled\n"
              "would set system.systemName from System to Rack 4\n"
              "would set system.serial1 from name=COM2, dev=/dev/ttyS1, connectionPoint= to "
              "connectionPoint=Node 7\n");
    EXPECT_EQ(valueOf("sshEnabled") + valueOf("systemName"), "Enabled\nSystem\n");
    EXPECT_THAT(commands(), IsEmpty());
}

TEST_F(PallctlSet, RefusesANameThatStandsTwice) {
    for (const char* form : {"--timeout=2", "--json", "--keyvalue", "--raw", "--force"}) {
        const Result result = pallctl(
            {"set", form, "sshEnabled=0", "active=0", "system.sshEnabled=1", "sshEnabled=0"});
        EXPECT_EQ(result.status, 2) << form;
        EXPECT_EQ(result.error, "pallctl: system.sshEnabled: given more than once\n") << form;
    }
    EXPECT_EQ(pallctl({"set", "-k", "sshEnabled=0", "active=0", "system.sshEnabled=1"}).output,
              "system_sshEnabled='invalid'\nsystem_active='notSent'\n");
    EXPECT_THAT(commands(), IsEmpty());
    EXPECT_EQ(valueOf("active"), "1\n");
}

TEST_F(PallctlSet, TellsEveryMistakeAtOnce) {
    const Words words{"set",      "-j",        "systemName=Rack 4", "sshEnabled=7", "stray",
                      "nosuch=1", "version=9", "ftpEnabled=0",      "ftpEnabled=1"};
    const Result result = pallctl(words);
    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(result.error,
                testing::AllOf(HasSubstr("pallctl: system.sshEnabled: must be one of: Disabled"),
                               HasSubstr("pallctl: stray: needs the form NAME=VALUE\n"),
                               HasSubstr("pallctl: system.nosuch: not found"),
                               HasSubstr("pallctl: system.version: is read-only\n"),
                               HasSubstr("pallctl: system.ftpEnabled: given more than once\n")));
    for (const char* outcome :
         {R"("system.systemName","outcome":"notSent")",
          R"("system.sshEnabled","outcome":"invalid")", R"("stray","outcome":"invalid")",
          R"("system.nosuch","outcome":"notFound")", R"("system.version","outcome":"invalid")",
          R"("system.ftpEnabled","outcome":"invalid")"}) {
        EXPECT_THAT(result.output, HasSubstr(outcome));
    }
    EXPECT_EQ(valueOf("systemName"), "System\n");
}

TEST_F(PallctlSet, TellsOfASetThatIsInterruptedThatItMayStillTakeEffect) {
    const harness::HeldProgram script(frame, "/vantor/bin/restartNetworking.sh");
    harness::Process setter(program("pallctl", {"set", "-k", "restartNetwork=Apply", "active=0"}));
    script.waitForCalls(1);
    setter.signal(SIGINT);
    EXPECT_EQ(setter.waitForEnd(), 128 + SIGINT);
    EXPECT_EQ(setter.error().waitForEnd(),
              "pallctl: system.restartNetwork: interrupted; the set may still take effect\n"
              "pallctl: system.active: not sent\n");
    EXPECT_EQ(setter.output().waitForEnd(),
              "system_restartNetwork='noAnswer'\nsystem_active='notSent'\n");
    script.release();
    EXPECT_EQ(valueOf("active"), "1\n");
}

// As a shell starts a job in the background.
TEST_F(PallctlSet, IsNotInterruptedWhereTheSignalIsIgnored) {
    const harness::HeldProgram script(frame, "/vantor/bin/restartNetworking.sh");
    harness::Process shell(
        {"sh", "-c",
         "trap '' INT; exec " + program("pallctl", {})[0] + " set restartNetwork=Apply"});
    script.waitForCalls(1);
    shell.signal(SIGINT);
    script.release();
    EXPECT_EQ(shell.waitForEnd(), 0);
}

TEST_F(PallctlSet, SuggestsARollbackForASetOfTheNetwork) {
    harness::Terminal terminal(program("pallctl", {"set", "gateway=10.0.0.7", "systemName=B"}));
    EXPECT_EQ(terminal.waitForEnd(), 0);
    terminal.screen().waitFor("rolls back unless confirmed\r\n");
    EXPECT_EQ(terminal.screen().text(),
              "pallctl: system.gateway: takes effect even if it disconnects you; "
              "'pallctl network --gateway' rolls back unless confirmed\r\n");
    EXPECT_EQ(valueOf("gateway"), "10.0.0.7\n");
    EXPECT_EQ(pallctl({"set", "gateway=10.0.0.1"}).error, "") << "a script is told nothing";
}

TEST_F(PallctlSet, DoesNotTakeACommandForSetThatTheDaemonHasTakenBack) {
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(pallctl({"set", "-k", "generateReport=Apply"}).output,
                  "system_generateReport='set'\n");
    }
}

TEST_F(PallctlSet, KeepsFromTheDaemonWhatItWouldTakeForSomethingElse) {
    for (const char* assignment : {"sshEnabled=2", "ipAddress=10.0.0", "active=on",
                                   "psu1Voltage=12", "serial0=name", "activeEthernet=Port 3"}) {
        const Result result = pallctl({"set", assignment});
        EXPECT_EQ(result.status, 2) << assignment;
        EXPECT_THAT(result.error, isOneComplaint("pallctl")) << assignment;
    }
    EXPECT_THAT(log.linesUntilNow(), testing::Not(testing::Contains(testing::Field(
                                         &harness::LogLine::text, HasSubstr("System param Set")))));
}

TEST_F(PallctlSet, TellsWhatTheDaemonRefused) {
    const Result result = pallctl({"set", "--force", "--raw", "systemName=7", "nosuch=1", "-j"});
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.error,
              "pallctl: system.systemName: 400 Bad Request\n"
              "pallctl: system.nosuch: 404 Not Found\n");
    EXPECT_EQ(result.output,
              R"({"system.systemName":{"name":"system.systemName","outcome":"refused",)"
              R"("statusCode":400,"problem":"400 Bad Request"},)"
              R"("system.nosuch":{"name":"system.nosuch","outcome":"notFound",)"
              R"("statusCode":404,"problem":"404 Not Found"}})"
              "\n");
    EXPECT_EQ(pallctl({"set", "--force", "--raw", "systemName=7"}).status, 3);
}

// Without a word of standard error a program knows of each of them.
TEST_F(PallctlSet, TellsProgramsWhatKeptEachFromBeingSent) {
    const Words words{"set", "systemName=x", "sshEnabled=2", "nosuch=1"};
    const Result lines = pallctl({"-k", words[0], words[1], words[2], words[3]});
    EXPECT_EQ(lines.status, 4);
    EXPECT_EQ(lines.output,
              "system_systemName='notSent'\nsystem_sshEnabled='invalid'\n"
              "system_nosuch='notFound'\n");

    const Result object = pallctl({"-j", words[0], words[1], words[2], words[3]});
    EXPECT_EQ(object.status, 4);
    EXPECT_EQ(object.output,
              R"({"system.systemName":{"name":"system.systemName","outcome":"notSent",)"
              R"("statusCode":null,"problem":"not sent"},)"
              R"("system.sshEnabled":{"name":"system.sshEnabled","outcome":"invalid",)"
              R"("statusCode":null,"problem":"must be one of: Disabled, Enabled"},)"
              R"("system.nosuch":{"name":"system.nosuch","outcome":"notFound",)"
              R"("statusCode":null,"problem":"not found"}})"
              "\n");
    EXPECT_THAT(commands(), IsEmpty());
}

TEST_F(PallctlSet, TellsThatTheDaemonDidNotAnswer) {
    daemon->signal(SIGSTOP);
    const Result unread = pallctl({"set", "-k", "--timeout=0.1", "systemName=x", "frameName=y"});
    EXPECT_EQ(unread.status, 5);
    EXPECT_EQ(unread.error, "pallctl: system: no answer\n");
    EXPECT_EQ(unread.output, "system_systemName='notSent'\nsystem_frameName='notSent'\n");
}

TEST_F(OnPallbus, ASetWithoutABusTellsProgramsThatNothingWasSent) {
    const Result result = pallctl({"set", "-j", "systemName=x"});
    EXPECT_EQ(result.status, 6);
    EXPECT_EQ(result.output,
              R"({"system.systemName":{"name":"system.systemName","outcome":"notSent",)"
              R"("statusCode":null,"problem":"not sent"}})"
              "\n");
}

}  // namespace
