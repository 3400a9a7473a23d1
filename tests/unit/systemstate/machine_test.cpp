#include "systemstate/machine.h"

#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <vector>

#include <gmock/gmock.h>

#include "frame_root.h"
#include "support/captured_log.h"
#include "support/file_calls.h"
#include "support/file_size_limit.h"
#include "support/no_free_descriptors.h"

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Machine, PathsStandUnderTheRoot) {
    EXPECT_EQ(Machine("/tmp/frame").path("/etc/build.prop"), "/tmp/frame/etc/build.prop");
    EXPECT_EQ(Machine().path("/etc/build.prop"), "/etc/build.prop");
}

TEST(MachineRun, GivesTheWaitStatus) {
    Machine machine;
    EXPECT_EQ(machine.run("true"), 0);
    const int status = machine.run("exit 3");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST(MachineRun, MissingCommandIsANonZeroResult) {
    const int status = Machine().run("/nowhere/no-such-command 2>/dev/null");
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 127);
}

TEST(MachineRun, KilledCommandIsANonZeroResult) {
    const int status = Machine().run("kill -KILL $$");
    ASSERT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(MachineRun, ExitCodeHasNoErrorTextOfTheTimeBefore) {
    errno = ENOENT;
    EXPECT_NE(Machine().run("exit 1"), 0);
    EXPECT_EQ(errno, 0);
}

TEST(MachineRun, TakesNoLongerThanRunsAreLimitedTo) {
    CapturedLog log;
    Machine machine;
    machine.limitRuns(std::chrono::milliseconds(50));
    EXPECT_NE(machine.run("exec sleep 1000"), 0);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_THAT(log.lines()[0].text, testing::StartsWith("exec sleep 1000 was killed after "));
    EXPECT_EQ(machine.run("true"), 0);
    machine.limitRuns(std::nullopt);
    EXPECT_EQ(machine.run("sleep 0.2"), 0);
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST(MachineFirstLine, EndsBeforeTheLineFeed) {
    EXPECT_EQ(Machine().firstLine("printf 'one\\ntwo\\n'"), "one");
    EXPECT_EQ(Machine().firstLine("printf one"), "one");
    EXPECT_EQ(Machine().firstLine("printf '\\none\\n'"), "");
    EXPECT_EQ(Machine().firstLine("printf 'one\\r\\n'"), "one\r");
}

TEST(MachineFirstLine, SilentAndFailingCommandsGiveAnEmptyLine) {
    EXPECT_EQ(Machine().firstLine("true"), "");
    EXPECT_EQ(Machine().firstLine("exit 7"), "");
    EXPECT_EQ(Machine().firstLine("/nowhere/no-such-command 2>/dev/null"), "");
}

TEST(MachineFirstLine, HasAtMost127Bytes) {
    EXPECT_EQ(Machine().firstLine("printf %0127d 0"), std::string(127, '0'));
    EXPECT_EQ(Machine().firstLine("printf %0128d 0"), std::string(127, '0'));
    EXPECT_EQ(Machine().firstLine("printf %0100000d 0"), std::string(127, '0'));
}

TEST(MachineFirstLine, WaitsForOutputThatComesInPieces) {
    EXPECT_EQ(Machine().firstLine("printf on; true; printf e; echo"), "one");
}

TEST(MachineFirstLine, WaitsForTheEndOfTheCommand) {
    const FrameRoot root;
    Machine().firstLine(("echo; exec >&-; echo done > " + root.path() + "/marker").c_str());
    EXPECT_TRUE(root.holds("/marker"));
}

// A process that may open nothing more cannot make a pipe.
TEST(MachineFirstLine, PipeThatCannotBeMadeIsLoggedAndGivesNothing) {
    CapturedLog log;
    Machine machine;
    machine.firstLine("true");
    const std::optional<std::string> line = [&] {
        const NoFreeDescriptors none;
        return machine.firstLine("echo one");
    }();

    EXPECT_EQ(line, std::nullopt);
    EXPECT_THAT(log.take(), ElementsAre(CapturedLog::Line{
                                LOG_ERR, "error opening echo one: Too many open files\n"}));
}

TEST(MachineHook, IsCalledBeforeEachCommand) {
    const FrameRoot root;
    Machine machine;
    std::vector<bool> ranBefore;
    machine.setBeforeCommand([&] { ranBefore.push_back(root.holds("/marker")); });
    machine.run(("touch " + root.path() + "/marker").c_str());
    machine.firstLine("true");
    EXPECT_THAT(ranBefore, ElementsAre(false, true));
}

// The descriptors of this process that a command started by another thread would get as well.
constexpr const char* kCountInheritable =
    "grep -L '^flags:.*02[0-9]\\{6\\}$' /proc/$PPID/fdinfo/* | wc -l";

TEST(MachineFirstLine, ItsPipeIsClosedInOtherCommands) {
    const FrameRoot root;
    Machine machine;
    machine.run((std::string(kCountInheritable) + " > " + root.path() + "/count").c_str());
    const std::optional<std::string> withPipe = machine.firstLine(kCountInheritable);
    ASSERT_TRUE(withPipe);
    EXPECT_EQ(*withPipe + '\n', root.read("/count"));
}

TEST(MachineFiles, ExistsByAccessAndStatsByStat) {
    const FrameRoot root;
    root.write("/vantor/etc/sshServerDisabled", "");
    root.link("/vantor/etc/dangling", "/nowhere/at-all");
    const Machine machine(root.path());
    EXPECT_TRUE(machine.exists("/vantor/etc/sshServerDisabled"));
    EXPECT_TRUE(machine.stats("/vantor/etc/sshServerDisabled"));
    EXPECT_TRUE(machine.exists("/vantor/etc"));
    EXPECT_FALSE(machine.exists("/vantor/etc/ftpServerDisabled"));
    EXPECT_FALSE(machine.stats("/vantor/etc/ftpServerDisabled"));
    EXPECT_FALSE(machine.exists("/vantor/etc/dangling"));
    EXPECT_FALSE(machine.stats("/vantor/etc/dangling"));
}

TEST(MachineReadFile, GivesTheBytesAsTheyAre) {
    const FrameRoot root;
    const std::string text("one\n\0two", 8);
    root.write("/tmp/bond0", text);
    root.write("/tmp/empty", "");
    const Machine machine(root.path());
    EXPECT_EQ(machine.readFile("/tmp/bond0"), text);
    EXPECT_EQ(machine.readFile("/tmp/empty"), "");
}

TEST(MachineReadFile, LargerThanItsBuffer) {
    const FrameRoot root;
    for (const std::size_t size : {4095U, 4096U, 4097U, 8192U, 100000U}) {
        root.write("/tmp/bond0", std::string(size, 'x'));
        EXPECT_EQ(Machine(root.path()).readFile("/tmp/bond0"), std::string(size, 'x')) << size;
    }
}

TEST(MachineReadFile, MissingFileIsNothingWithItsErrno) {
    const FrameRoot root;
    errno = 0;
    EXPECT_EQ(Machine(root.path()).readFile("/tmp/bond0"), std::nullopt);
    EXPECT_EQ(errno, ENOENT);
}

TEST(MachineReadFile, DirectoryIsEmpty) {
    EXPECT_EQ(Machine().readFile("/proc"), "");
}

TEST(MachineReadFile, PipeWithoutWriterHoldsNobody) {
    const FrameRoot root;
    root.write("/tmp/other", "");
    ASSERT_EQ(mkfifo((root.path() + "/tmp/bond0").c_str(), 0600), 0);
    EXPECT_EQ(Machine(root.path()).readFile("/tmp/bond0"), "");
}

TEST(MachineReadFile, DeviceIsEmpty) {
    EXPECT_EQ(Machine().readFile("/dev/zero"), "");
}

TEST(MachineReadFile, GivesTheFirstMebibyteOfALongerFile) {
    const FrameRoot root;
    root.write("/tmp/bond0", std::string(1'500'000, 'x'));
    EXPECT_EQ(Machine(root.path()).readFile("/tmp/bond0"), std::string(1'048'576, 'x'));
}

TEST(MachineReadFile, FailureGivesWhatCameBeforeIt) {
    const FrameRoot root;
    root.write("/tmp/bond0", std::string(100'000, 'x'));
    int reads = 0;
    const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
        const bool fails = call.verb == "read" && ++reads == 3;
        return fails ? std::optional<FileAnswer>({-1, EIO}) : std::nullopt;
    });
    const std::optional<std::string> text = Machine(root.path()).readFile("/tmp/bond0");
    EXPECT_EQ(errno, EIO);
    ASSERT_TRUE(text);
    EXPECT_FALSE(text->empty());
    EXPECT_LT(text->size(), 100'000U);
}

TEST(MachineWriteFile, ReplacesTheWholeText) {
    const FrameRoot root;
    root.write("/vantor/etc/network.conf", "a longer text than the new one\n");
    EXPECT_EQ(Machine(root.path()).writeFile("/vantor/etc/network.conf", "new\n"),
              util::WriteFailure::none);
    EXPECT_EQ(root.read("/vantor/etc/network.conf"), "new\n");
}

TEST(MachineWriteFile, SaysThatItFailedAndWhy) {
    const FrameRoot root;
    root.write("/vantor/etc/other", "");
    const Machine machine(root.path());
    EXPECT_EQ(machine.writeFile("/vantor/etc", "new\n"), util::WriteFailure::open);
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(machine.writeFile("/nowhere/network.conf", "new\n"), util::WriteFailure::open);
    EXPECT_EQ(errno, ENOENT);
    const FileSizeLimit room(2);
    EXPECT_EQ(machine.writeFile("/vantor/etc/new", "new\n"), util::WriteFailure::write);
    EXPECT_EQ(errno, EFBIG);
}

std::size_t openDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

TEST(MachineFiles, LeaveNoDescriptorOpen) {
    const FrameRoot root;
    root.write("/vantor/old", "old\n");
    const Machine machine(root.path());
    const std::size_t before = openDescriptors();
    machine.readFile("/vantor");
    machine.readFile("/vantor/old");
    machine.writeFile("/vantor/new", "new\n");
    const FileSizeLimit room(2);
    machine.writeFile("/vantor/old", "new\n");
    EXPECT_EQ(openDescriptors(), before);
}

TEST(MachinePause, LastsAtLeastAsLongAsAsked) {
    const auto start = std::chrono::steady_clock::now();
    Machine().pause(std::chrono::milliseconds(3));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(3));
}

}  // namespace

}  // namespace systemstate
