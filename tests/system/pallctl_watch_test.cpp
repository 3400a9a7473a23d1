// pallctl watch beside the real daemon, whose bus and life are cut short in every way.

#include <signal.h>

#include "harness/held_program.h"
#include "harness/terminal.h"
#include "on_pallbus.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr const char* kStateFile = "/vantor/etc/configurableSystemDetails.json";

size_t count(const std::string& text, const std::string& part) {
    size_t found = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

// A product whose poll tells what changes on the frame itself.
class PallctlWatch : public OnPallbus {
  protected:
    PallctlWatch() : OnPallbus("Quorane") {}

    // The values that stand before any change of the test have been read then.
    void watch(const Words& names, const Words& options = {}) {
        Words words{"watch", "--table"};
        words.insert(words.end(), options.begin(), options.end());
        words.insert(words.end(), names.begin(), names.end());
        watch_.emplace(program("pallctl", words));
        watch_->output().waitFor("NAME");
    }

    void startAndWatchThePort() {
        start();
        log.waitFor("ETHERNET STATUS CHANGED : eth0, was:0, now:1");
        log.waitFor("ETHERNET STATUS CHANGED : eth1, was:0, now:2");
        watch({"ethPort1Status", "systemName"});
    }

    void pullCable() { pallframe::simulation::setCable(frame.tree(), "eth0", false); }
    // The daemon has seen it, whether anybody hears of it or not.
    void pullCableUnheard() {
        pullCable();
        log.waitFor("ETHERNET STATUS CHANGED : eth0, was:1, now:0");
    }

    void setName(const std::string& name) {
        const Result result = pallctl({"set", "systemName=" + name});
        ASSERT_EQ(result.status, 0) << result.error;
    }

    void pallbus(const Words& words) {
        const Result result = run(program("pallbus", words));
        ASSERT_EQ(result.status, 0) << result.error;
    }

    std::string watchID() const { return std::to_string(1'000'000 + watch_->pid()); }

    // The change is printed once, and before one that comes after it.
    void expectOnceAndInOrder(const std::string& missed) {
        watch_->output().waitFor(missed);
        setName("after");
        watch_->output().waitFor("system.systemName\tafter\n");
        EXPECT_EQ(count(watch_->output().text(), missed), 1u) << watch_->output().text();
    }

    static Words joined(Words words, const Words& more) {
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }

    std::optional<Process> watch_;
};

const std::string kPulled = "\tsystem.ethPort1Status\t0\n";

TEST_F(PallctlWatch, PrintsWhatChangedWhileTheBusWasAway) {
    startAndWatchThePort();
    stopBus();
    watch_->error().waitFor("pallctl: bus: connection lost, waiting\n");
    pullCableUnheard();
    startBus();
    expectOnceAndInOrder(kPulled);
    EXPECT_EQ(watch_->error().text(),
              "pallctl: bus: connection lost, waiting\npallctl: bus: connected again\n");
}

TEST_F(PallctlWatch, PrintsWhatChangedWhileTheDaemonWasAway) {
    startAndWatchThePort();
    stopDaemon();
    pullCable();
    startDaemon();
    watch_->output().waitFor(kPulled);
    expectOnceAndInOrder(kPulled);
    EXPECT_THAT(watch_->error().text(), Not(HasSubstr("bus"))) << "its own connection stood";
}

TEST_F(PallctlWatch, PrintsWhatChangedWhileTheDaemonHadNoBus) {
    startAndWatchThePort();
    pallbus({"inject", "refuse"});
    pallbus({"inject", "close", "daemon"});
    pullCableUnheard();
    pallbus({"clear"});
    expectOnceAndInOrder(kPulled);
    EXPECT_THAT(watch_->error().text(), Not(HasSubstr("bus")));
}

// Both connections stand, and nothing comes over them any more.
TEST_F(PallctlWatch, LeavesABusThatFellSilentAndPrintsWhatItMissed) {
    startAndWatchThePort();
    pallbus({"inject", "blackhole", "any"});
    pullCableUnheard();
    watch_->error().waitFor(
        "pallctl: bus: connection lost, waiting\npallctl: bus: connected again\n");
    expectOnceAndInOrder(kPulled);
}

// Those to its login, its subscription and its two questions.
TEST_F(PallctlWatch, AsksAgainWhenTheAnswersAreLost) {
    startAndWatchThePort();
    pallbus({"inject", "drop", "next", "4", "to", "client", watchID()});
    pallbus({"inject", "refuse", "3s"});
    pallbus({"inject", "close", "client", watchID()});
    pullCableUnheard();
    watch_->error().waitFor("pallctl: bus: connected again\n");
    expectOnceAndInOrder(kPulled);
}

// Announcements go on while the loop waits for a command; the reading has to wait for its end.
TEST_F(PallctlWatch, PrintsAnnouncementsWhileTheDaemonAnswersNobody) {
    startAndWatchThePort();
    const HeldProgram script(frame, "/vantor/bin/restartNetworking.sh");
    Process setter(program("pallctl", {"set", "restartNetwork=Apply"}));
    script.waitForCalls(1);
    pallbus({"inject", "close", "client", watchID()});
    watch_->error().waitFor("pallctl: bus: connected again\n");
    pullCable();
    watch_->output().waitFor(kPulled);
    script.release();
    EXPECT_EQ(setter.waitForEnd(), 0);
    expectOnceAndInOrder(kPulled);
}

TEST_F(PallctlWatch, MayBeStartedBeforeBusAndDaemon) {
    watch_.emplace(program("pallctl", {"watch", "--wait=20", "systemName"}));
    start();
    waitUntil(
        [&] {
            setName(std::to_string(count(watch_->output().text(), "\n")) + "?");
            return watch_->output().text().find("system.systemName\t") != std::string::npos;
        },
        "a change");
}

TEST_F(PallctlWatch, SaysWhatItWaitsForAndThatItHasCome) {
    watch_.emplace(program("pallctl", {"watch", "--wait=60", "systemName"}));
    watch_->error().waitFor("pallctl: bus: connect: Connection refused, waiting\n");
    startBus();
    watch_->error().waitFor("pallctl: bus: connected\npallctl: system: not responding, waiting\n");
    startDaemon();
    watch_->error().waitFor("pallctl: system: responding\n");
    EXPECT_EQ(watch_->error().text(),
              "pallctl: bus: connect: Connection refused, waiting\npallctl: bus: connected\n"
              "pallctl: system: not responding, waiting\npallctl: system: responding\n");
}

TEST_F(PallctlWatch, SaysOnceThatTheDaemonHasGoneAndThatItAnswersAgain) {
    startAndWatchThePort();
    stopDaemon();
    watch_->error().waitFor("pallctl: system: not responding, waiting\n");
    startDaemon();
    watch_->error().waitFor("pallctl: system: responding again\n");
    setName("back");
    watch_->output().waitFor("system.systemName\tback\n");
    EXPECT_EQ(watch_->error().text(),
              "pallctl: system: not responding, waiting\npallctl: system: daemon restarted\n"
              "pallctl: system: responding again\n");
}

// Only a few bytes each time, not the description of the whole device.
TEST_F(PallctlWatch, AsksWhetherTheDaemonAnswersWithLittleTraffic) {
    start();
    watch({"systemName"});
    pallbus({"record", "/run/watch.rec"});
    const std::string answer = "\\\"param\\\":{\\\"frameName\\\":\\\"Quorane\\\"}";
    harness::waitUntil(
        [&] { return frame.read("/run/watch.rec").find(answer) != std::string::npos; },
        "an answer");
    pallbus({"record", "--stop"});
    EXPECT_THAT(frame.read("/run/watch.rec"), Not(HasSubstr("paramDescriptor")));
}

// It starts with voltages of 0 and ports without a link, and measures then.
TEST_F(PallctlWatch, PrintsOnlyWhatDiffersAfterARestart) {
    start();
    ASSERT_EQ(pallctl({"wait", "battVoltage>0", "--timeout=20"}).status, 0);
    watch({});
    const size_t before = watch_->output().text().size();
    stopDaemon();
    startDaemon();
    watch_->error().waitFor("pallctl: system: daemon restarted\n");
    ASSERT_EQ(pallctl({"wait", "battVoltage>0", "--timeout=20"}).status, 0);
    setName("after");
    watch_->output().waitFor("system.systemName\tafter\n");
    const std::string printed = watch_->output().text().substr(before);
    EXPECT_EQ(count(printed, "\n"), count(printed, "\tsystem.systemName\tafter\n")) << printed;
}

TEST_F(PallctlWatch, DoesNotTakeANewConnectionForARestart) {
    startAndWatchThePort();
    pallbus({"inject", "close", "daemon"});
    setName("after");
    watch_->output().waitFor("system.systemName\tafter\n");
    EXPECT_EQ(watch_->error().text(), "");
}

TEST_F(PallctlWatch, GivesUpWhenTheWaitIsOver) {
    const Result result = pallctl({"watch", "--wait=0.1"});
    EXPECT_EQ(result.status, 6);
    EXPECT_EQ(result.error,
              "pallctl: bus: connect: Connection refused, waiting\n"
              "pallctl: no bus on 127.0.0.1:15000: connect: Connection refused\n");
}

TEST_F(PallctlWatch, SaysWhenABusThatRefusedForATimeTakesItBack) {
    startAndWatchThePort();
    pallbus({"inject", "refuse"});
    pallbus({"inject", "close", "client", watchID()});
    watch_->error().waitFor("pallctl: bus: connection lost, waiting\n");
    pallbus({"clear"});
    watch_->error().waitFor("pallctl: bus: connected again\n");
    EXPECT_EQ(watch_->error().text(),
              "pallctl: bus: connection lost, waiting\npallctl: bus: connected again\n");
}

// The state file has other values when the daemon comes back; the greeting comes under its own name
// only.
TEST_F(PallctlWatch, PrintsThroughAPrefixWhatWasMissed) {
    start({"-p", "frameB"});
    watch({"systemName"}, {"--object=frameB.system"});
    setName("B");
    watch_->output().waitFor("\tframeB.system.systemName\tB\n");
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->waitForEnd(), 0);
    std::string state = frame.read(kStateFile);
    const size_t at = state.find("\"B\"");
    ASSERT_NE(at, std::string::npos) << state;
    frame.write(kStateFile, state.replace(at, 3, "\"C\""));
    startDaemon({"-p", "frameB"});
    watch_->output().waitFor("\tframeB.system.systemName\tC\n");
}

TEST_F(PallctlWatch, ColoursItsLinesOnATerminalOnly) {
    start();
    Words words = program("pallctl", {"watch", "--table", "systemName"});
    words.insert(words.begin(), {"env", "TERM=xterm", "NO_COLOR="});
    Terminal terminal(words);
    terminal.screen().waitFor("System");
    watch({"systemName"});
    setName("seen");
    terminal.screen().waitFor("\tsystem.systemName\t\x1b[1mseen\x1b[0m\r\n");
    watch_->output().waitFor("\tsystem.systemName\tseen\n");
    EXPECT_THAT(watch_->output().text(), Not(HasSubstr("\x1b")));
}

}  // namespace
