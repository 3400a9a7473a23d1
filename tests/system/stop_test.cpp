// The three signals that stop the daemon, at whatever it is just doing.

#include <signal.h>

#include <set>

#include "harness/held_program.h"
#include "harness/process_table.h"
#include "on_bus.h"

using namespace harness;
using testing::EndsWith;
using testing::IsEmpty;
using testing::ThrowsMessage;

namespace {

constexpr const char* kReport = "/vantor/bin/briskel";

std::string stopLine(int signal) {
    return "Pallwatch caught signal:" + std::to_string(signal) + " (ec: Success) - Stopping.\n";
}

size_t countOf(const std::string& part, const std::string& text) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

std::set<pid_t> processNumbers() {
    std::set<pid_t> numbers;
    for (const ProcessEntry& entry : processes()) {
        numbers.insert(entry.pid);
    }
    return numbers;
}

class Stop : public OnBus {
  protected:
    using OnBus::OnBus;

    void expectEnd(int signal) {
        EXPECT_EQ(daemon->waitForEnd(), 0);
        EXPECT_EQ(countOf(stopLine(signal), daemon->output().waitForEnd()), 1U);
        EXPECT_EQ(countOf("caught signal", daemon->output().text()), 1U);
        waitUntil([this] { return processNumbers() == before_; }, "no process to be left");
    }

    void expectSilentClose() {
        EXPECT_THAT([this] { bus.receive(); }, ThrowsMessage<std::runtime_error>(
                                                   EndsWith("left the bus; the last bytes: ''")));
    }

  private:
    const std::set<pid_t> before_ = processNumbers();
};

class StopSignals : public Stop, public testing::WithParamInterface<int> {
  protected:
    StopSignals() : Stop("Quorane") {}
};

INSTANTIATE_TEST_SUITE_P(All, StopSignals, testing::Values(SIGINT, SIGTERM, SIGQUIT));

TEST_P(StopSignals, EndTheDaemonWithStatus0AndNothingIsLeft) {
    start();
    daemon->signal(GetParam());
    expectEnd(GetParam());
    EXPECT_EQ(daemon->error().waitForEnd(), "");
}

TEST_P(StopSignals, EndItAlsoWhenThereIsNoBus) {
    bus.stopListening();
    daemon.emplace();
    daemon->error().waitFor("Connection refused");
    daemon->signal(GetParam());
    expectEnd(GetParam());
}

TEST_F(Stop, SaysNothingMoreOnTheBus) {
    start();
    EXPECT_THAT(sentUntilNow(), IsEmpty());
    daemon->signal(SIGTERM);
    expectSilentClose();
    expectEnd(SIGTERM);
}

TEST_F(Stop, WaitsForTheCommandThatRunsAndForItsAnswer) {
    const HeldProgram report(frame, kReport);
    start();
    set(R"({"generateReport":1})");
    report.waitForCalls(1);
    daemon->signal(SIGTERM);
    report.release();
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"generateReport":1})"));
    EXPECT_EQ(withoutId(bus.receive()), announced(R"({"generateReport":0})"));
    EXPECT_EQ(withoutId(bus.receive()), answered(200, "OK"));
    expectSilentClose();
    expectEnd(SIGTERM);
    EXPECT_EQ(report.ended(), 1U);
}

// All are there when the loop comes to look.
TEST_F(Stop, FollowsOneSignalOnly) {
    const HeldProgram report(frame, kReport);
    start();
    set(R"({"generateReport":1})");
    report.waitForCalls(1);
    daemon->signal(SIGTERM);
    daemon->signal(SIGTERM);
    report.release();
    expectEnd(SIGTERM);
}

class InterruptOfACommand : public Stop, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(All, InterruptOfACommand, testing::Values(SIGINT, SIGQUIT));

// Whoever runs a command with system(3) leaves the keys of the terminal to it.
TEST_P(InterruptOfACommand, DoesNotStopTheDaemon) {
    const HeldProgram report(frame, kReport);
    start();
    set(R"({"generateReport":1})");
    report.waitForCalls(1);
    daemon->signal(GetParam());
    report.release();
    EXPECT_EQ(sentUntilNow().back(), answered(200, "OK"));
    daemon->signal(GetParam());
    expectEnd(GetParam());
}

class StopOfAPoll : public Stop {
  protected:
    StopOfAPoll() : Stop("Quorane") {}
};

// The second poll samples the battery: load on, load off.
TEST_F(StopOfAPoll, WaitsForThePollThatRuns) {
    const HeldProgram load(frame, "/sbin/devmem");
    start();
    load.waitForCalls(1);
    daemon->signal(SIGTERM);
    daemon->output().waitFor(stopLine(SIGTERM));
    load.release();
    load.release();
    expectEnd(SIGTERM);
    load.waitForCalls(2);
}

TEST_F(StopOfAPoll, AnnouncesWhatThePollStillFinds) {
    const HeldProgram load(frame, "/sbin/devmem");
    start();
    load.waitForCalls(1);
    daemon->signal(SIGTERM);
    daemon->output().waitFor(stopLine(SIGTERM));
    load.release();
    load.release();
    for (const char* const name : {"battVoltage", "psu1Voltage", "psu2Voltage"}) {
        while (withoutId(bus.receive()).find(name) == std::string::npos) {
        }
    }
    expectSilentClose();
    expectEnd(SIGTERM);
}

TEST_F(Stop, DoesNotWaitForWhatWasStartedInTheBackground) {
    const HeldProgram server(frame, "/vantor/bin/ambrixsrvlaunch.sh");
    start();
    server.waitForCalls(1);
    daemon->signal(SIGTERM);
    EXPECT_EQ(daemon->waitForEnd(), 0);
    EXPECT_EQ(server.ended(), 0U);
    server.release();
}

}  // namespace
