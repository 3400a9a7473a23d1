#include <signal.h>

#include "harness/terminal.h"
#include "pallframe_process.h"

using namespace harness;
using namespace outside;
using testing::EndsWith;

namespace {

class Ending : public Tree, public testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Signals, Ending, testing::Values(SIGINT, SIGTERM, SIGHUP, SIGQUIT));

TEST_P(Ending, ASignalReachesTheCommandAndNothingStays) {
    Process frame(words({},
                        "trap 'echo told; exit 9' INT TERM HUP QUIT; echo set; "
                        "while :; do sleep 0.01; done"));
    frame.output().waitFor("set");
    frame.signal(GetParam());
    EXPECT_EQ(frame.waitForEnd(), 9);
    EXPECT_THAT(frame.output().waitForEnd(), EndsWith("told\n"));
    expectNoTrace();
}

TEST_F(Tree, ACommandThatDoesNotListenIsEnded) {
    Process frame(words({}, "trap '' TERM; echo deaf; while :; do sleep 100; done"));
    frame.output().waitFor("deaf");
    frame.signal(SIGTERM);
    EXPECT_EQ(frame.waitForEnd(), 128 + SIGKILL);
    expectNoTrace();
}

TEST_F(Tree, NothingStaysWhenItIsKilled) {
    Process frame(words());
    frame.output().waitFor("ready");
    frame.signal(SIGKILL);
    EXPECT_EQ(frame.waitForEnd(), 128 + SIGKILL);
    expectNoTrace();
}

TEST_F(Tree, NothingStaysWhenItsKeeperIsKilled) {
    Process frame(words());
    frame.output().waitFor("ready");
    const std::string pid = std::to_string(frame.pid());
    const std::string keeper = readFile(frame.proc() / "task" / pid / "children");
    ASSERT_EQ(::kill(std::stoi(keeper), SIGKILL), 0);
    EXPECT_EQ(frame.waitForEnd(), 128 + SIGKILL);
    expectNoTrace();
}

TEST(Memory, NothingStaysWhenAllAreKilledAtOnce) {
    const std::string mark = uniqueWord();
    const std::string mountsBefore = readFile("/proc/self/mounts");
    Process frame(inFrame({"sh", "-c", "echo ready; exec sleep 1000", mark}));
    frame.output().waitFor("ready");
    for (const fs::path& process : processesWith(mark)) {
        ::kill(std::stoi(process.filename()), SIGKILL);
    }
    EXPECT_EQ(frame.waitForEnd(), 128 + SIGKILL);
    waitUntil([&] { return processesWith(mark).empty(); }, "the processes to go");
    EXPECT_EQ(readFile("/proc/self/mounts"), mountsBefore);
}

TEST(TerminalOfAFrame, AnInterruptReachesTheCommandOnce) {
    Terminal terminal(inFrame({"sh", "-c",
                               "trap 'echo told' INT; trap 'echo bye; exit 4' TERM; echo ready; "
                               "while :; do sleep 0.01; done"}));
    terminal.screen().waitFor("ready");
    terminal.type("\x03");
    terminal.screen().waitFor("told");
    terminal.signal(SIGTERM);
    terminal.screen().waitFor("bye");
    const std::string text = terminal.screen().text();
    EXPECT_EQ(text.find("told"), text.rfind("told")) << text;
    EXPECT_EQ(terminal.waitForEnd(), 4);
}

// The three processes behind a frame come one after the other, the command is the fourth. At any
// moment in between what the terminal sends has to reach the one that comes last.
class TerminalOfANewFrame : public testing::TestWithParam<size_t> {
  protected:
    TerminalOfANewFrame() {
        waitUntil([this] { return processesWith(mark).size() >= GetParam(); }, "so many of them");
    }

    void expectThatNothingRuns() const {
        waitUntil([this] { return processesWith(mark).empty(); }, "the processes to go");
    }

    // A time that nobody else sleeps for. A shell would mind signals in its own way.
    const std::string mark = "1000." + std::to_string(::getpid());
    Terminal terminal{inFrame({"sleep", mark})};
};

INSTANTIATE_TEST_SUITE_P(Processes, TerminalOfANewFrame, testing::Values(1, 2, 3, 4));

TEST_P(TerminalOfANewFrame, NothingStaysWhenItIsClosed) {
    terminal.hangUp();
    expectThatNothingRuns();
}

TEST_P(TerminalOfANewFrame, AnInterruptIsNotLost) {
    terminal.type("\x03");
    EXPECT_EQ(terminal.waitForEnd(), 128 + SIGINT);
    expectThatNothingRuns();
}

TEST_F(Tree, OutlivesItsTerminalWhenThatIsWished) {
    Words started = words({}, "until [ -e /tmp/go ]; do sleep 0.01; done; exit 6");
    started.insert(started.begin(), {"env", "--ignore-signal=HUP"});
    Terminal terminal(started);
    terminal.screen().waitFor("ready");
    terminal.hangUp();
    std::ofstream(tree + "/tmp/go").flush();
    EXPECT_EQ(terminal.waitForEnd(), 6);
}

}  // namespace
