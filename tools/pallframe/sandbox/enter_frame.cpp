#include "pallframe/sandbox/enter_frame.h"

#include <sched.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "pallframe/sandbox/frame_process.h"
#include "pallframe/sandbox/rootfs.h"
#include "pallframe/sandbox/terminal_settings.h"
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
        std::fprintf(stderr, "pallframe: frame %d has ended\n", frame.pid);
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
