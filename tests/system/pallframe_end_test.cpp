#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

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

std::string readTerminal(int terminal, const std::string& until) {
    std::string text;
    std::array<char, 256> buffer{};
    const Deadline deadline;
    while (text.find(until) == std::string::npos) {
        waitReadable(terminal, deadline, "'" + until + "' on the terminal; there was: " + text);
        const ssize_t size = ::read(terminal, buffer.data(), buffer.size());
        if (size <= 0) {
            break;
        }
        text.append(buffer.data(), static_cast<size_t>(size));
    }
    return text;
}

TEST(Terminal, AnInterruptReachesTheCommandOnce) {
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_GE(child, 0);
    if (child == 0) {
        const std::string program = programDirectory() / "pallframe";
        ::execl(program.c_str(), program.c_str(), "run", "--", "sh", "-c",
                "trap 'echo told' INT; trap 'echo bye; exit 4' TERM; echo ready; "
                "while :; do sleep 0.01; done",
                nullptr);
        ::_exit(127);
    }
    readTerminal(terminal, "ready");
    ASSERT_EQ(::write(terminal, "\x03", 1), 1);
    std::string text = readTerminal(terminal, "told");
    ASSERT_EQ(::kill(child, SIGTERM), 0);
    text += readTerminal(terminal, "bye");
    EXPECT_EQ(text.find("told"), text.rfind("told")) << text;
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(WEXITSTATUS(status), 4);
    ::close(terminal);
}

}  // namespace
