// pallctl network, on the real bus with the real daemon.

#include <signal.h>

#include "harness/held_program.h"
#include "harness/process_table.h"
#include "harness/terminal.h"
#include "on_pallbus.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::string kFile{pallframe::simulation::paths::kNetwork};
const std::string kRestart = "/etc/init.d/S40network restart";

std::string conf(const std::string& ip, const std::string& netmask, const std::string& gateway) {
    return "USE_DHCP=0\nIPADDR=" + ip + "\nNETMASK=" + netmask + "\nGATEWAY=" + gateway + "\n";
}

const std::string kBefore = conf("10.0.0.5", "255.255.255.0", "10.0.0.1");
const std::string kNewGateway = conf("10.0.0.5", "255.255.255.0", "10.0.0.2");
const std::string kAllNew = conf("10.9.0.7", "255.255.0.0", "10.9.0.1");
const Words kAll{"--address", "10.9.0.7", "--netmask", "255.255.0.0", "--gateway", "10.9.0.1"};

Words network(Words words, const Words& more = {}) {
    words.insert(words.begin(), "network");
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

class PallctlNetwork : public OnPallbus {
  protected:
    PallctlNetwork() { start(); }

    std::string file() const { return frame.read(kFile); }

    // What the daemon told the init scripts, which at its start it leaves alone.
    std::vector<std::string> restarts() const {
        std::vector<std::string> commands = frame.commands();
        std::erase_if(commands, [](const std::string& command) {
            return !command.starts_with("/etc/init.d/");
        });
        return commands;
    }

    static pid_t guardianOf(const Terminal& terminal) {
        for (const ProcessEntry& each : processes()) {
            if (each.parent == terminal.proc().filename()) {
                return each.pid;
            }
        }
        throw std::runtime_error("no guardian");
    }

    void waitForGuardian() { log.waitFor("network: previous settings restored"); }
};

TEST_F(PallctlNetwork, SendsTheAddressLastSoThatServicesStartOnceOnTheNewNetwork) {
    const Result result = pallctl(network(kAll));
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output,
              "netmask: 255.255.255.0 -> 255.255.0.0\n"
              "gateway: 10.0.0.1 -> 10.9.0.1\n"
              "ipAddress: 10.0.0.5 -> 10.9.0.7\n");
    EXPECT_EQ(file(), kAllNew);
    EXPECT_THAT(restarts(),
                ElementsAre(kRestart, kRestart, kRestart, "/etc/init.d/S53slpreg",
                            "/etc/init.d/S54openslp restart", "/etc/init.d/S80tarnaview restart"));
}

TEST_F(PallctlNetwork, SendsOnlyWhatDiffers) {
    const Result result = pallctl(network({"--address=10.0.0.5", "--gateway=10.0.0.2"}));
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(file(), kNewGateway);
    EXPECT_THAT(restarts(), ElementsAre(kRestart));
}

TEST_F(PallctlNetwork, RestartsNothingWhenNothingDiffers) {
    const Result result = pallctl(network({"--gateway=10.0.0.1", "--confirm-within=2m"}));
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output, "nothing to change\n");
    EXPECT_THAT(restarts(), IsEmpty());
}

TEST_F(PallctlNetwork, DoesNotLeaveTheFrameOutOfReachUnlessForced) {
    const Result refused = pallctl(network({"--address=10.9.0.7"}));
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.error,
              "pallctl: --gateway 10.0.0.1: is not in the network of the address: not sent "
              "without --force\n");
    EXPECT_EQ(file(), kBefore);
    const Result forced = pallctl(network({"--address=10.9.0.7", "--force"}));
    EXPECT_EQ(forced.status, 0) << forced.error;
    EXPECT_EQ(file(), conf("10.9.0.7", "255.255.255.0", "10.0.0.1"));
}

// A frame without settings answers 200 to all of it and does nothing.
TEST_F(PallctlNetwork, SaysThatTheDaemonWouldApplyNothing) {
    stopDaemon();
    frame.remove(kFile);
    startDaemon();
    const Result result = pallctl(network(kAll));
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.error, isOneComplaint("pallctl"));
    EXPECT_EQ(result.output, "");
}

// What the daemon tells through a prefix leaves them out, and asking by name would rename them.
TEST_F(PallctlNetwork, IsNotDoneThroughAPrefix) {
    stopDaemon();
    startDaemon({"-p", "frameB"});
    const Result result = pallctl(network(kAll, {"--object=frameB.system"}));
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.error, "pallctl: frameB.system.netmask: cannot be read through a prefix\n");
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, SaysWhatCannotBeSetAndWhatItHasNoFormFor) {
    const Result none = pallctl(network({"--gateway=0.0.0.0"}));
    EXPECT_EQ(none.status, 2);
    EXPECT_THAT(none.error, HasSubstr("0.0.0.0 cannot be set"));
    for (const char* form : {"--json", "--keyvalue"}) {
        const Result result = pallctl(network(kAll, {form}));
        EXPECT_EQ(result.status, 2) << form;
        EXPECT_THAT(result.error, isOneComplaint("pallctl")) << form;
    }
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, BeginsALineOfItsOwnBehindItsQuestion) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=50ms"})));
    EXPECT_EQ(terminal.waitForEnd(), 7);
    terminal.screen().waitFor(" s, or no: \r\npallctl: network: restoring");
}

TEST_F(PallctlNetwork, AsksOnATerminalWithoutBeingToldTo) {
    Terminal terminal(program("pallctl", network(kAll)));
    terminal.screen().waitFor("Keep these settings? Type yes within 90 s, or no: ");
    EXPECT_EQ(file(), kAllNew);
    terminal.type("no\n");
    EXPECT_EQ(terminal.waitForEnd(), 7);
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, DoesNotAskThoseWhoKnow) {
    Terminal terminal(program("pallctl", network(kAll, {"--no-confirm"})));
    EXPECT_EQ(terminal.waitForEnd(), 0);
    EXPECT_EQ(file(), kAllNew);
    EXPECT_THAT(terminal.screen().waitForEnd(), testing::Not(HasSubstr("Keep")));
}

// Nobody would see the question, or could answer it.
TEST_F(PallctlNetwork, DoesNotAskWhereNobodyCanAnswer) {
    const std::string command = program("pallctl", {}).front();
    Terminal unseen({"sh", "-c", command + " network --gateway 10.0.0.2 2>/dev/null"});
    EXPECT_EQ(unseen.waitForEnd(), 0);
    Terminal unanswered({"sh", "-c", command + " network --gateway 10.0.0.1 </dev/null"});
    EXPECT_EQ(unanswered.waitForEnd(), 0);
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, IsToldOnlyOneOfBothWaysToConfirm) {
    const Result result = pallctl(network(kAll, {"--no-confirm", "--confirm-within=2m"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, isOneComplaint("pallctl"));
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, TakesTheTypedYes) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("Keep these settings? Type yes within 120 s, or no: ");
    EXPECT_EQ(file(), kAllNew);
    terminal.type("perhaps\n");
    terminal.screen().waitFor("perhaps\r\nKeep these settings? Type yes within ");
    terminal.type("yes\n");
    EXPECT_EQ(terminal.waitForEnd(), 0);
    EXPECT_EQ(file(), kAllNew);
}

TEST_F(PallctlNetwork, TakesTheYesOfAScript) {
    const std::string command = program("pallctl", {}).front();
    const Result result = run(
        {"sh", "-c", "echo yes | " + command + " network --gateway 10.0.0.2 --confirm-within 2m"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(file(), kNewGateway);
}

TEST_F(PallctlNetwork, TellsAScriptWhatToWriteAndWhatItsEndMeans) {
    const Result ended = pallctl(network({"--gateway=10.0.0.2", "--confirm-within=2m"}));
    EXPECT_EQ(ended.status, 7);
    EXPECT_EQ(ended.error,
              "pallctl: network: write yes to the standard input within 120 s to keep these "
              "settings; its end restores the previous ones\n"
              "pallctl: network: the input ended without a yes\n"
              "pallctl: network: restoring the previous settings\n"
              "pallctl: network: previous settings restored\n");
}

TEST_F(PallctlNetwork, SetsAllBackWhenNobodyAnswersInTime) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=50ms"})));
    EXPECT_EQ(terminal.waitForEnd(), 7);
    EXPECT_EQ(file(), kBefore);
    terminal.screen().waitFor("pallctl: network: restoring the previous settings\r\n");
    terminal.screen().waitFor("pallctl: network: previous settings restored\r\n");
    EXPECT_EQ(log.waitFor("network: previous settings restored").ident, "pallctl");
}

TEST_F(PallctlNetwork, SetsBackOnlyWhatItHadChanged) {
    EXPECT_EQ(pallctl(network({"--gateway=10.0.0.2", "--confirm-within=2m"})).status, 7)
        << "at the end of its input";
    EXPECT_EQ(file(), kBefore);
    EXPECT_THAT(restarts(), ElementsAre(kRestart, kRestart));
}

TEST_F(PallctlNetwork, TakesNoForAnAnswer) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("or no: ");
    terminal.type("No\n");
    EXPECT_EQ(terminal.waitForEnd(), 7);
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, TakesCtrlCForANo) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("or no: ");
    terminal.type("\x03");
    EXPECT_EQ(terminal.waitForEnd(), 7);
    EXPECT_EQ(file(), kBefore);
}

class PallctlNetworkSignal : public PallctlNetwork, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Each, PallctlNetworkSignal,
                         testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT));

TEST_P(PallctlNetworkSignal, IsANo) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("or no: ");
    terminal.signal(GetParam());
    EXPECT_EQ(terminal.waitForEnd(), 7);
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, SetsBackWhenItsTerminalGoes) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("or no: ");
    terminal.hangUp();
    EXPECT_EQ(terminal.waitForEnd(), 7);
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, SetsBackWhenItIsKilled) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("or no: ");
    terminal.signal(SIGKILL);
    waitForGuardian();
    EXPECT_EQ(file(), kBefore);
}

// The first set is under way, and nobody but the guardian knows what was before.
TEST_F(PallctlNetwork, SetsBackWhenItIsKilledBeforeItCouldAsk) {
    const HeldProgram restart(frame, "/etc/init.d/S40network");
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    restart.waitForCalls(1);
    terminal.signal(SIGKILL);
    terminal.waitForEnd();
    restart.release();
    restart.waitForCalls(2);
    restart.release();
    waitForGuardian();
    EXPECT_EQ(file(), kBefore);
    EXPECT_EQ(restart.ended(), 2u) << "the other two were not sent any more";
}

TEST_F(PallctlNetwork, SetsBackAsSoonAsThereIsABusAgain) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("or no: ");
    stopBus();
    terminal.type("no\n");
    terminal.screen().waitFor("pallctl: network: not possible yet; retrying for up to 60 min");
    EXPECT_EQ(file(), kAllNew);
    startBus();
    EXPECT_EQ(terminal.waitForEnd(), 7);
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, SetsBackAsSoonAsThereIsADaemonAgain) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m", "-t", "4"})));
    terminal.screen().waitFor("or no: ");
    stopDaemon();
    terminal.type("no\n");
    terminal.screen().waitFor("pallctl: network: not possible yet");
    startDaemon();
    EXPECT_EQ(terminal.waitForEnd(), 7);
    EXPECT_EQ(file(), kBefore);
}

// As when the whole frame is told to stop: it is not to come up with settings that nobody
// confirmed.
TEST_F(PallctlNetwork, SetsBackWhenItsGuardianIsToldToEnd) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("or no: ");
    ::kill(guardianOf(terminal), SIGTERM);
    EXPECT_EQ(terminal.waitForEnd(), 7);
    EXPECT_EQ(file(), kBefore);
}

TEST_F(PallctlNetwork, SaysSoWhenItsGuardianIsKilled) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("or no: ");
    ::kill(guardianOf(terminal), SIGKILL);
    EXPECT_EQ(terminal.waitForEnd(), 8);
    terminal.screen().waitFor("was killed");
}

// Somebody in a hurry gets the prompt back; the guardian goes on.
TEST_F(PallctlNetwork, LeavesTheRestToItsGuardianAtASecondCtrlC) {
    Terminal terminal(program("pallctl", network(kAll, {"--confirm-within=2m"})));
    terminal.screen().waitFor("or no: ");
    stopBus();
    terminal.type("\x03");
    terminal.screen().waitFor("not possible yet");
    terminal.type("\x03");
    EXPECT_EQ(terminal.waitForEnd(), 8);
    EXPECT_EQ(file(), kAllNew);
    startBus();
    waitForGuardian();
    EXPECT_EQ(file(), kBefore);
}

}  // namespace
