#include <signal.h>

#include "pallframe_process.h"
#include "terminal.h"

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
    terminal.readUntil("ready");
    terminal.type("\x03");
    std::string text = terminal.readUntil("told");
    ASSERT_EQ(::kill(terminal.pid(), SIGTERM), 0);
    text += terminal.readUntil("bye");
    EXPECT_EQ(text.find("told"), text.rfind("told")) << text;
    EXPECT_EQ(terminal.waitForEnd(), 4);
}

}  // namespace
