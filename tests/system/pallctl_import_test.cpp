// pallctl export and import, with real daemons on two cards.

#include <signal.h>

#include "harness/held_program.h"
#include "harness/terminal.h"
#include "on_pallbus.h"

using harness::Result;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* kStateFile = "/vantor/etc/configurableSystemDetails.json";
constexpr const char* kFile = "/tmp/settings";

class PallctlImport : public OnPallbus {
  protected:
    PallctlImport() { start(); }
    ~PallctlImport() override { frame.remove(kFile); }

    // The card is taken out, and one that was never in use is put in.
    void replaceCard() {
        stopDaemon();
        stopBus();
        frame.remove(kStateFile);
        const harness::Frame replacement("QuoraneBrio");
        start();
    }

    static std::string valueOf(const std::string& name) { return pallctl({"get", name}).output; }

    static std::string listSettings() {
        return pallctl({"-k", "list", "frameName", "systemName", "active", "quorane*", "sshEnabled",
                        "ftpEnabled", "ambrixEnabled"})
            .output;
    }

    Result import(const std::string& text, const Words& options = {"--yes"}) {
        frame.write(kFile, text);
        Words words{"import", kFile};
        words.insert(words.end(), options.begin(), options.end());
        return pallctl(words);
    }
};

TEST_F(PallctlImport, MovesTheSettingsOfAFrameToAReplacementCard) {
    ASSERT_EQ(pallctl({"set", "systemName=Rack \"4\" # upper\n", "frameName=Köln", "active=7",
                       "sshEnabled=off", "quoraneUsersEnabled=off"})
                  .status,
              0);
    const std::string before = listSettings();
    const Result exported = pallctl({"export"});
    EXPECT_EQ(exported.status, 0) << exported.error;

    replaceCard();
    EXPECT_EQ(valueOf("systemName"), "System\n");
    EXPECT_EQ(pallctl({"export"}).output.find("Rack"), std::string::npos);
    const Result imported = import(exported.output);
    EXPECT_EQ(imported.status, 0) << imported.error;
    EXPECT_THAT(imported.output, HasSubstr("system.sshEnabled           Enabled      Disabled\n"));
    EXPECT_THAT(imported.output, HasSubstr("\n5 of 5 set\n"));
    EXPECT_EQ(listSettings(), before);

    stopDaemon();
    startDaemon();
    EXPECT_EQ(listSettings(), before) << "after a restart";
    EXPECT_THAT(import(exported.output, {}).output,
                StartsWith("9 of 9 settings are set already\n"));
}

TEST_F(PallctlImport, ExportsWhatAPersonCanRead) {
    const std::string text = pallctl({"export"}).output;
    EXPECT_THAT(text, StartsWith("# Settings of the device \"system\", "));
    EXPECT_THAT(text, HasSubstr("\nsystemName=\"System\"\nactive=1\n"));
    EXPECT_THAT(text, HasSubstr("\nsshEnabled=Enabled\n"));
    EXPECT_THAT(text, HasSubstr("\n# pallctl network --netmask 255.255.255.0 --gateway 10.0.0.1 "
                                "--address 10.0.0.5\n"));
    EXPECT_THAT(text, Not(HasSubstr("generateReport"))) << "is a command, and not a setting";
    EXPECT_THAT(text, Not(HasSubstr("version=")));
}

TEST_F(PallctlImport, NamesEachWrongLineAndSetsNothing) {
    const Result result = import(
        "systemName=B\n# comment\nsystemNam=1\nsshEnabled=maybe\nversion=2\nsystemName=C\n"
        "ipAddress=10.0.0.9\nactive=\"x\n");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error,
              "pallctl: /tmp/settings:3: system.systemNam: not found; did you mean 'systemName'?\n"
              "pallctl: /tmp/settings:4: system.sshEnabled: must be one of: Disabled, Enabled\n"
              "pallctl: /tmp/settings:5: system.version: is read-only\n"
              "pallctl: /tmp/settings:6: system.systemName: given more than once\n"
              "pallctl: /tmp/settings:7: system.ipAddress: is not imported; use 'pallctl network "
              "--address'\n"
              "pallctl: /tmp/settings:8: system.active: must be a JSON value\n");
    const Result form = import("systemName=B\nsystemName\n");
    EXPECT_EQ(form.status, 2);
    EXPECT_EQ(form.error, "pallctl: /tmp/settings:2: needs the form NAME=VALUE\n");
    EXPECT_EQ(valueOf("systemName"), "System\n");
}

TEST_F(PallctlImport, AsksBeforeItSets) {
    frame.write(kFile, "systemName=B\nactive=1\n");
    for (const char* answer : {"no\n", "\x04"}) {
        harness::Terminal terminal(program("pallctl", {"import", kFile}));
        terminal.screen().waitFor("1 of 2 settings are set already\r\nSet 1 parameter? ");
        terminal.type(answer);
        EXPECT_EQ(terminal.waitForEnd(), 1);
        EXPECT_EQ(valueOf("systemName"), "System\n");
    }
    harness::Terminal terminal(program("pallctl", {"import", kFile}));
    terminal.screen().waitFor("Set 1 parameter? ");
    terminal.type("yes\n");
    EXPECT_EQ(terminal.waitForEnd(), 0);
    EXPECT_EQ(valueOf("systemName"), "B\n");
}

TEST_F(PallctlImport, TellsOfASetThatIsInterruptedThatItMayStillTakeEffect) {
    const harness::HeldProgram script(frame, "/vantor/bin/restartNetworking.sh");
    frame.write(kFile, "restartNetwork=Apply\nactive=0\n");
    harness::Process importer(program("pallctl", {"import", "--yes", kFile}));
    script.waitForCalls(1);
    importer.signal(SIGINT);
    EXPECT_EQ(importer.waitForEnd(), 128 + SIGINT);
    EXPECT_EQ(importer.error().waitForEnd(),
              "pallctl: system.restartNetwork: interrupted; the set may still take effect\n"
              "pallctl: system.active: not sent\n");
    EXPECT_THAT(importer.output().waitForEnd(), HasSubstr("\n0 of 2 set\n"));
    script.release();
}

TEST_F(PallctlImport, SetsNothingInADryRunOrWithoutAConfirmation) {
    const Result dry = import("systemName=B\n", {"--dry-run"});
    EXPECT_EQ(dry.status, 0);
    EXPECT_THAT(dry.output, HasSubstr("\nsystem.systemName  System  B\n"));
    const Result unconfirmed = import("systemName=B\n", {});
    EXPECT_EQ(unconfirmed.status, 1);
    EXPECT_THAT(unconfirmed.error, HasSubstr("pallctl: not confirmed; nothing is set\n"));
    EXPECT_EQ(pallctl({"import", "-"}).status, 2) << "asks nobody";
    EXPECT_EQ(pallctl({"import", "/nosuch"}).error,
              "pallctl: cannot read /nosuch: No such file or directory\n");
    EXPECT_EQ(valueOf("systemName"), "System\n");
}

}  // namespace
