// The init script with the daemon where a card has it, /usr/sbin. That directory, /etc/init.d and
// /run are the frame's own, so the script touches nothing of the machine that tests. Each test runs
// twice: with the machine's shell and start-stop-daemon, and with those of BusyBox.

#include <signal.h>
#include <sys/mount.h>

#include <algorithm>

#include "harness/process_table.h"
#include "harness/run.h"
#include "on_bus.h"
#include "pallframe/sandbox/rootfs.h"
#include "text_parts.h"

using namespace harness;
using testing::IsEmpty;
using testing::Not;

namespace fs = std::filesystem;

namespace {

constexpr const char* kScript = "/etc/init.d/pallwatch";
constexpr const char* kSupervisor = "/etc/init.d/pallwatch supervise";
constexpr const char* kSupervisorPidFile = "/run/pallwatch-supervisor.pid";
constexpr const char* kPrograms = "/usr/sbin";  // the first directory that the script searches
constexpr const char* kDaemon = "/usr/sbin/pallwatch";
constexpr const char* kPidFile = "/run/pallwatch.pid";
constexpr const char* kBusyBox = "/bin/busybox";
constexpr const char* kServer = "sleep 1000";  // the command line of a process that stays

// Hides a file or directory of the frame behind another until destruction.
class Mount {
  public:
    // Shows a file or directory of the frame there.
    Mount(const std::string& source, const std::string& target) : target_(target) {
        place(source, nullptr, MS_BIND);
    }
    // Shows an empty directory.
    explicit Mount(const std::string& target) : target_(target) { place("none", "tmpfs", 0); }
    ~Mount() { umount2(target_.c_str(), MNT_DETACH); }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

  private:
    void place(const std::string& source, const char* type, unsigned long flags) const {
        pallframe::simulation::check(mount(source.c_str(), target_.c_str(), type, flags, nullptr),
                                     target_);
    }

    const std::string target_;
};

void link(const fs::path& program, const std::string& name) {
    const fs::path place = fs::path(kPrograms) / name;
    fs::remove(place);
    fs::create_symlink(program, place);
}

std::string makeDirectory(const std::string& path) {
    fs::create_directories(path);
    return path;
}

// A /usr/sbin with the programs of the machine and the daemon of this build. It can be written to.
class SystemPrograms {
  public:
    SystemPrograms() {
        for (const auto& entry : fs::directory_iterator(aside_)) {
            link(entry.path(), entry.path().filename());
        }
        link(programDirectory() / "pallwatch", "pallwatch");
    }

  private:
    const std::string aside_ = makeDirectory("/run/usr-sbin");
    const Mount machine_{kPrograms, aside_};
    const Mount frame_{kPrograms};
};

// The shell and the programs of a card with BusyBox, which has no library of init scripts.
class BusyBox {
  public:
    BusyBox() {
        for (const std::string& applet : outside::linesOf(run({kBusyBox, "--list"}).output)) {
            link(kBusyBox, applet);
        }
        if (fs::exists(kLibrary)) {
            library_.emplace(kLibrary);
        }
    }

  private:
    static constexpr const char* kLibrary = "/lib/lsb";

    const Mount shell_{kBusyBox, "/bin/sh"};
    std::optional<Mount> library_;
};

std::vector<ProcessEntry> findProcesses(const std::string& commandLine) {
    std::vector<ProcessEntry> found = processes();
    std::erase_if(found, [&](const ProcessEntry& entry) {
        return entry.commandLine.find(commandLine) == std::string::npos;
    });
    return found;
}

void killAll(const std::string& commandLine) {
    for (const ProcessEntry& entry : findProcesses(commandLine)) {
        kill(entry.pid, SIGKILL);
    }
}

class InitScript : public OnBus, public testing::WithParamInterface<const char*> {
  protected:
    InitScript() : OnBus("Quorane") {
        if (GetParam() == std::string("BusyBox")) {
            busyBox_.emplace();
        }
        fs::copy_file("packaging/pallwatch.init", kScript);
        pallframe::sandbox::showManyProcesses();
    }

    ~InitScript() override {
        for (const char* process : {kSupervisor, kDaemon, kServer}) {
            killAll(process);
        }
        fs::remove(kScript);
        fs::remove(kPidFile);
        fs::remove(kSupervisorPidFile);
    }

    void SetUp() override {
        if (!fs::exists("/proc/1")) {
            GTEST_SKIP() << "the process numbers of this machine are not those of the frame";
        }
    }

    static Result call(const std::string& argument) { return run({kScript, argument}); }

    void startDaemon() {
        const Result result = call("start");
        EXPECT_EQ(result.status, 0) << result.error;
        greeted();
    }

    // For the init script and all that it starts.
    void replaceProgram(const std::string& name, const std::string& script) const {
        const std::string program = "/run/" + name;
        frame.writeProgram(program, "#!/bin/sh\n" + script + "\n");
        link(program, name);
    }

    // Waits until the script has written the number.
    pid_t readPid(const char* file) const {
        waitUntil([&] { return frame.read(file).find('\n') != std::string::npos; }, file);
        return std::stoi(frame.read(file));
    }

    // Kills the daemon, and waits for the next one.
    void crash() {
        const pid_t before = readPid(kPidFile);
        kill(before, SIGKILL);
        greeted();
        waitUntil([&] { return readPid(kPidFile) != before; }, "the next daemon's number");
    }

    // A process that is just becoming another still has the command line of its parent.
    static void expectOneDaemon() {
        for (const char* process : {kSupervisor, kDaemon}) {
            waitUntil([&] { return findProcesses(process).size() == 1; },
                      std::string("a single process ") + process);
        }
    }

    static void expectNoDaemon() {
        EXPECT_EQ(findProcesses(kSupervisor).size(), 0U);
        EXPECT_EQ(findProcesses(kDaemon).size(), 0U);
    }

  private:
    const SystemPrograms programs_;
    std::optional<BusyBox> busyBox_;
};

INSTANTIATE_TEST_SUITE_P(With, InitScript, testing::Values("Debian", "BusyBox"),
                         [](const auto& shell) { return std::string(shell.param); });

TEST_P(InitScript, StartPutsTheDaemonOnTheBus) {
    startDaemon();
    expectOneDaemon();
    EXPECT_EQ(fs::equivalent(findProcesses(kSupervisor).at(0).proc / "exe", kBusyBox),
              GetParam() == std::string("BusyBox"));
}

TEST_P(InitScript, ASecondStartLeavesTheDaemonAlone) {
    startDaemon();
    const pid_t before = readPid(kPidFile);
    EXPECT_EQ(call("start").status, 0);
    EXPECT_EQ(readPid(kPidFile), before);
    sentUntilNow();  // on the same connection
    expectOneDaemon();
}

TEST_P(InitScript, StatusSaysWhetherTheDaemonRuns) {
    const auto expectStatus = [](int status, const std::string& text) {
        const Result result = call("status");
        EXPECT_EQ(result.status, status);
        EXPECT_EQ(result.output, text);
        EXPECT_EQ(result.error, "");
    };
    expectStatus(3, "pallwatch is not running\n");
    startDaemon();
    expectStatus(0, "pallwatch is running\n");
    call("stop");
    expectStatus(3, "pallwatch is not running\n");
}

TEST_P(InitScript, ADaemonThatWasKilledIsBack) {
    startDaemon();
    crash();
    EXPECT_EQ(call("status").status, 0);
    expectOneDaemon();
}

TEST_P(InitScript, FiveCrashesInARowAreNotTheEnd) {
    startDaemon();
    for (int i = 0; i < 5; ++i) {
        crash();
    }
    expectOneDaemon();
}

TEST_P(InitScript, AStartAfterTheLossOfTheSupervisorLeavesOneDaemon) {
    startDaemon();
    kill(readPid(kSupervisorPidFile), SIGKILL);
    waitUntil([] { return findProcesses(kSupervisor).empty(); }, "the supervisor's end");
    startDaemon();
    expectOneDaemon();
}

TEST_P(InitScript, RestartAndForceReloadReplaceTheDaemon) {
    startDaemon();
    for (const char* argument : {"restart", "force-reload"}) {
        const pid_t before = readPid(kPidFile);
        EXPECT_EQ(call(argument).status, 0);
        greeted();
        EXPECT_NE(readPid(kPidFile), before);
        expectOneDaemon();
    }
}

TEST_P(InitScript, StopEndsDaemonAndSupervisor) {
    startDaemon();
    EXPECT_EQ(call("stop").status, 0);
    expectNoDaemon();
    EXPECT_FALSE(frame.exists(kPidFile));
    EXPECT_FALSE(frame.exists(kSupervisorPidFile));
}

TEST_P(InitScript, StopWithoutADaemonSucceeds) {
    EXPECT_EQ(call("stop").status, 0);
}

TEST_P(InitScript, WhatTheStartCommandsStartedOutlivesStop) {
    frame.writeProgram("/etc/init.d/S50dropbear",
                       std::string("#!/bin/sh\n[ \"$1\" = stop ] || ") + kServer + " &\n");
    startDaemon();
    waitUntil([] { return !findProcesses(kServer).empty(); }, "the server");
    call("stop");
    expectNoDaemon();
    EXPECT_THAT(findProcesses(kServer), Not(IsEmpty()));
}

// The script waits half a minute before, which a sleep that returns at once makes short.
TEST_P(InitScript, StopKillsADaemonThatDoesNotEnd) {
    startDaemon();
    replaceProgram("sleep", "exit 0");
    kill(readPid(kPidFile), SIGSTOP);
    EXPECT_EQ(call("stop").status, 0);
    expectNoDaemon();
}

TEST_P(InitScript, AProcessWithTheNumberOfALostDaemonIsLeftAlone) {
    const Process other({"tail", "-f", kScript});
    for (const char* file : {kPidFile, kSupervisorPidFile}) {
        frame.write(file, std::to_string(other.pid()) + "\n");
    }
    EXPECT_EQ(call("status").status, 3);
    call("stop");
    EXPECT_THAT(findProcesses("tail -f"), Not(IsEmpty()));
}

// The command line of a process has a NUL behind each word. BusyBox can be built with a grep that
// reads no further.
TEST_P(InitScript, EndsTheSupervisorAlsoWithAGrepThatReadsUpToANul) {
    replaceProgram(
        "grep", "tr '\\0' '\\n' <\"${3:-/dev/stdin}\" | sed -n 1p | /usr/bin/grep \"$1\" \"$2\"");
    startDaemon();
    call("stop");
    expectNoDaemon();
}

TEST_P(InitScript, ADaemonThatWasRemovedIsNotStarted) {
    fs::remove(kDaemon);
    EXPECT_EQ(call("start").status, 0);
    expectNoDaemon();
}

TEST_P(InitScript, AnUnknownArgumentPrintsTheUsage) {
    const std::string usage =
        "usage: /etc/init.d/pallwatch {start|stop|restart|force-reload|status}\n";
    for (const char* argument : {"", "reload"}) {
        const Result result = call(argument);
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, usage);
    }
    expectNoDaemon();
}

}  // namespace
