// A child joins the namespaces of the frame and starts the command as a grandchild, because only
// the children of a process that joins are in the frame's process namespace. Each process waits for
// the next one as its supervisor. After the sudden end of a frame the child restores the terminal.

#include "pallframe/sandbox/enter_frame.h"

#include <sched.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string_view>

#include "pallframe/sandbox/frame_process.h"
#include "pallframe/sandbox/rootfs.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/product.h"

namespace pallframe::sandbox {

namespace {

namespace fs = std::filesystem;
using simulation::check;
using simulation::Descriptor;

fs::path userNamespace(const std::string& pid) {
    return fs::read_symlink("/proc/" + pid + "/ns/user");
}

// Puts this process into the frame's network and files, and its future children into the frame's
// process namespace. Joins the user namespace only if it differs: the kernel refuses its own.
void join(const RunningFrame& frame) {
    const Descriptor first = watch(frame.pid);
    const std::string pid = std::to_string(frame.pid);
    const bool otherUser = userNamespace(pid) != userNamespace("self");
    check(::setns(first.get(),
                  CLONE_NEWNET | CLONE_NEWPID | CLONE_NEWNS | (otherUser ? CLONE_NEWUSER : 0)),
          "cannot enter frame " + pid);
}

// The prompt and the environment show which frame this is. Both shells take the prompt from the
// environment, because no file in the frame sets another one.
void setNames(const RunningFrame& frame) {
    const std::string product(readProduct(simulation::FrameRoot("/")).name);
    const std::string prompt = "[" + product + " frame " + std::to_string(frame.pid) + "] ${PWD}# ";
    ::setenv("PS1", prompt.c_str(), 1);
    ::setenv(kNumberVariable, std::to_string(frame.pid).c_str(), 1);
}

// A process namespace whose first process ends accepts no new ones, and the others end before the
// first is collected (pid_namespaces(7)).
bool isEnding() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    return child < 0 && errno == ENOMEM;
}

std::vector<std::string> shell() {
    return fs::exists("/bin/bash") ? std::vector<std::string>{"/bin/bash", "--norc", "-i"}
                                   : std::vector<std::string>{"/bin/sh", "-i"};
}

constexpr int kTerminal = STDIN_FILENO;

// The first screen, the cursor, plain keys, pasting and colours. 1047 and not 1049, which would
// also take the cursor to where another program may have kept it long ago.
constexpr std::string_view kPlainScreen = "\x1b[?1047l\x1b[?25h\x1b[?1l\x1b>\x1b[?2004l\x1b[m";

// The settings of the terminal on standard input, as they were at construction. Empty without a
// terminal, and in a process in the background.
class TerminalSettings {
  public:
    TerminalSettings() {
        termios settings{};
        if (::tcgetpgrp(kTerminal) == ::getpgrp() && ::tcgetattr(kTerminal, &settings) == 0) {
            before_ = settings;
        }
    }

    // Restores them after a program that was killed: lines and echo, the first screen, a visible
    // cursor. Also works in the background.
    void restore() const {
        if (!before_) {
            return;
        }
        // A process in the background may set its terminal only while it blocks SIGTTOU; the
        // foreground belongs to a shell that was killed.
        sigset_t background{};
        sigset_t earlier{};
        ::sigemptyset(&background);
        ::sigaddset(&background, SIGTTOU);
        ::sigprocmask(SIG_BLOCK, &background, &earlier);
        ::tcsetattr(kTerminal, TCSANOW, &*before_);
        ::sigprocmask(SIG_SETMASK, &earlier, nullptr);
        // A terminal that cannot be written to shows nothing either.
        [[maybe_unused]] const ssize_t written =
            ::write(kTerminal, kPlainScreen.data(), kPlainScreen.size());
    }

  private:
    std::optional<termios> before_;
};

// The process that joins. It is not the caller itself, because every process that it starts from
// then on is in the frame's process namespace, even a sanitizer's helper at the exit.
int joinFrame(const RunningFrame& frame, const std::vector<std::string>& command,
              Supervisor& supervisor, const Descriptor& caller) {
    dieWith(caller, Supervisor::kParentDied);
    const TerminalSettings terminal;
    const fs::path workingDirectory = fs::current_path();
    const Descriptor self = watchSelf();
    join(frame);
    showManyProcesses();
    if (::chdir(workingDirectory.c_str()) != 0) {
        check(::chdir("/"), "/");
    }
    setNames(frame);
    const pid_t child = startSupervised(supervisor, [&] {
        dieWith(self, SIGKILL);
        return becomeCommand(command.empty() ? shell() : command, supervisor);
    });
    const int status = supervisor.waitFor(child);
    if (status == 128 + SIGKILL && isEnding()) {
        terminal.restore();  // the end of a frame gives no program the time to do it
        // On a terminal, the cursor may be behind the prompt of a shell that is gone.
        std::fprintf(stderr, "%spallframe: frame %d has ended\n",
                     ::isatty(STDERR_FILENO) != 0 ? "\n" : "", frame.pid);
    }
    return status;
}

}  // namespace

int enterFrame(const RunningFrame& frame, const std::vector<std::string>& command) {
    searchAsInFrame();
    Supervisor supervisor;
    const Descriptor self = watchSelf();
    return supervisor.waitFor(
        startSupervised(supervisor, [&] { return joinFrame(frame, command, supervisor, self); }));
}

}  // namespace pallframe::sandbox
