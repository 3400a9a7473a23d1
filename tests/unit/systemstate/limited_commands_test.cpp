#include "systemstate/limited_commands.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <functional>
#include <thread>

#include <gmock/gmock.h>

#include "frame_root.h"
#include "support/captured_log.h"
#include "support/no_free_descriptors.h"

namespace systemstate {

namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

// A limit that every hanging command meets, and one that none of the others meets.
constexpr milliseconds kShort{50};
constexpr milliseconds kLong = std::chrono::hours(1);

// A command that does not end by itself.
constexpr const char* kHanging = "sleep 10000";

auto isKillOf(const std::string& command) {
    return testing::AllOf(testing::Field(&CapturedLog::Line::priority, LOG_ERR),
                          testing::Field(&CapturedLog::Line::text,
                                         MatchesRegex(command + " was killed after [0-9]+ ms\n")));
}

// That many seconds at most, for what happens without the test's doing.
bool becomesTrue(const std::function<bool()>& condition) {
    for (int i = 0; i < 2000 && !condition(); ++i) {
        std::this_thread::sleep_for(milliseconds(10));
    }
    return condition();
}

bool runs(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/stat");
    std::string number;
    std::string name;
    char state = 'Z';
    status >> number >> name >> state;
    return state != 'Z';
}

TEST(LimitedCommandsRun, GivesTheWaitStatusAndNoOldError) {
    LimitedCommands commands(kLong);
    errno = ENOENT;
    EXPECT_EQ(commands.run("true"), 0);
    EXPECT_EQ(errno, 0);
    const int status = commands.run("exit 3");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST(LimitedCommandsRun, KillsACommandThatHangsAndSaysSo) {
    CapturedLog log;
    const int status = LimitedCommands(kShort).run(kHanging);
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    EXPECT_THAT(log.take(), ElementsAre(isKillOf(kHanging)));
}

TEST(LimitedCommandsRun, KillsWhatTheCommandHasStartedToo) {
    CapturedLog log;
    const FrameRoot root;
    const std::string number = root.path() + "/number";
    constexpr milliseconds kToWriteItsNumber{1000};
    LimitedCommands(kToWriteItsNumber)
        .run(("sleep 10000 & echo $! > " + number + "; wait").c_str());
    const pid_t child = std::stoi(root.read("/number"));
    EXPECT_TRUE(becomesTrue([&] { return !runs(child); }));
}

TEST(LimitedCommandsRun, LeavesAloneWhatRunsOnInTheBackground) {
    const FrameRoot root;
    const std::string number = root.path() + "/number";
    EXPECT_EQ(LimitedCommands(kLong).run(("sleep 10000 & echo $! > " + number).c_str()), 0);
    const pid_t child = std::stoi(root.read("/number"));
    EXPECT_TRUE(runs(child));
    kill(child, SIGKILL);
}

TEST(LimitedCommandsFirstLine, IsThatOfTheWholeOutput) {
    LimitedCommands commands(kLong);
    EXPECT_EQ(commands.firstLine("printf 'one\\ntwo\\n'"), "one");
    EXPECT_EQ(commands.firstLine("printf on; true; printf e; echo"), "one");
    EXPECT_EQ(commands.firstLine("exit 7"), "");
    EXPECT_EQ(commands.firstLine("printf %0100000d 0"), std::string(127, '0'));
}

TEST(LimitedCommandsFirstLine, DoesNotWaitForAChildThatKeepsTheOutput) {
    const FrameRoot root;
    const std::string number = root.path() + "/number";
    const std::string command = "echo one; sleep 10000 & echo $! > " + number;
    EXPECT_EQ(LimitedCommands(kLong).firstLine(command.c_str()), "one");
    kill(std::stoi(root.read("/number")), SIGKILL);
}

TEST(LimitedCommandsFirstLine, WaitsForTheCommandWhenTheLineCameEarly) {
    const FrameRoot root;
    LimitedCommands(kLong).firstLine(
        ("echo; exec >&-; echo done > " + root.path() + "/marker").c_str());
    EXPECT_TRUE(root.holds("/marker"));
}

TEST(LimitedCommandsFirstLine, OfACommandThatHangsIsEmpty) {
    CapturedLog log;
    LimitedCommands commands(kShort);
    EXPECT_EQ(commands.firstLine("echo half; sleep 10000"), "");
    EXPECT_EQ(commands.firstLine("exec >&-; sleep 10000"), "");
    EXPECT_THAT(log.take(),
                ElementsAre(isKillOf("echo half; sleep 10000"), isKillOf("exec >&-; sleep 10000")));
}

TEST(LimitedCommandsFirstLine, IsNothingWithoutAPipe) {
    LimitedCommands commands(kLong);
    const NoFreeDescriptors none;
    EXPECT_EQ(commands.firstLine("echo one"), std::nullopt);
    EXPECT_EQ(errno, EMFILE);
}

// Each of these would stand still for an hour.
TEST(LimitedCommandsInterrupt, EndsWhatIsUnderWay) {
    CapturedLog log;
    const FrameRoot root;
    LimitedCommands commands(kLong);
    const std::string command = "touch " + root.path() + "/begun; sleep 10000";
    std::thread thread([&] { commands.run(command.c_str()); });
    EXPECT_TRUE(becomesTrue([&] { return root.holds("/begun"); }));
    commands.interrupt();
    thread.join();
    EXPECT_THAT(log.take(), ElementsAre(isKillOf(command)));
}

TEST(LimitedCommandsInterrupt, LaterCommandsHaveAMomentAndPausesNone) {
    CapturedLog log;
    LimitedCommands commands(kLong);
    commands.interrupt();
    EXPECT_EQ(commands.run("true"), 0);
    commands.pause(kLong);
    EXPECT_THAT(log.take(), IsEmpty());
    commands.run(kHanging);
    EXPECT_THAT(log.take(), ElementsAre(isKillOf(kHanging)));
}

TEST(LimitedCommandsPause, IsEndedByAnInterruption) {
    LimitedCommands commands(kLong);
    std::atomic<bool> paused = false;
    std::thread thread([&] {
        paused = true;
        commands.pause(kLong);
    });
    EXPECT_TRUE(becomesTrue([&] { return paused.load(); }));
    commands.interrupt();
    thread.join();
}

TEST(LimitedCommandsRun, GivesNoCommandAStreamWhoseReaderStandsStill) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
    while (write(ends[1], "x", 1) == 1) {
    }
    fcntl(ends[1], F_SETFL, 0);
    const int before = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    const int status = LimitedCommands(kLong).run("echo more");
    dup2(before, STDOUT_FILENO);
    EXPECT_EQ(status, 0);
    for (const int descriptor : {before, ends[0], ends[1]}) {
        close(descriptor);
    }
}

std::string readFirstLine(const std::string& written) {
    CommandOutput output;
    EXPECT_EQ(write(output.writeEnd(), written.data(), written.size()),
              static_cast<ssize_t>(written.size()));
    output.closeWriteEnd();
    output.read();
    return output.firstLine();
}

TEST(CommandOutput, FirstLineEndsAtTheLineFeed) {
    EXPECT_EQ(readFirstLine("KELI\nrest\n"), "KELI");
}

TEST(CommandOutput, WithoutLineFeedItEndsWithTheOutput) {
    EXPECT_EQ(readFirstLine("KELI"), "KELI");
}

TEST(CommandOutput, ZeroByteEndsTheText) {
    EXPECT_EQ(readFirstLine(std::string("KE\0LI\n", 6)), "KE");
}

TEST(CommandOutput, LineOf128BytesIsCutTo127) {
    EXPECT_EQ(readFirstLine(std::string(128, 'x') + '\n'), std::string(127, 'x'));
}

TEST(CommandOutput, TakesWhatIsThereAndWaitsForNothing) {
    CommandOutput output;
    output.read();
    EXPECT_EQ(output.firstLine(), "");
    ASSERT_EQ(write(output.writeEnd(), "KE", 2), 2);
    output.read();
    EXPECT_EQ(output.firstLine(), "KE");
    ASSERT_EQ(write(output.writeEnd(), "LI", 2), 2);
    output.read();
    EXPECT_EQ(output.firstLine(), "KELI");
    EXPECT_GE(output.readEnd(), 0);
}

TEST(CommandOutput, ThePipeIsClosedWhenNothingMoreIsToBeRead) {
    CommandOutput ended;
    ended.closeWriteEnd();
    ended.read();
    EXPECT_EQ(ended.readEnd(), -1);

    CommandOutput full;
    ASSERT_EQ(write(full.writeEnd(), std::string(127, 'x').data(), 127), 127);
    full.read();
    EXPECT_EQ(full.readEnd(), -1);
}

TEST(CommandOutput, FailedReadIsPrintedAndGivesAnEmptyLine) {
    CommandOutput output;
    const int directory = open("/", O_RDONLY | O_CLOEXEC);
    dup2(directory, output.readEnd());
    close(directory);
    testing::internal::CaptureStdout();
    output.read();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "fread error -1\n");
    EXPECT_EQ(output.firstLine(), "");
    EXPECT_EQ(output.readEnd(), -1);
}

}  // namespace

}  // namespace systemstate
