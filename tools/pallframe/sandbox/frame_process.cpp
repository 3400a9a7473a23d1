#include "pallframe/sandbox/frame_process.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "cli/command_line.h"
#include "pallframe/simulation/stub_programs.h"

namespace pallframe::sandbox {

using simulation::check;
using simulation::Descriptor;

pid_t startProcess(const std::function<int()>& work) {
    const pid_t child = check(::fork(), "fork");
    if (child == 0) {
        const int status = cli::runProgram("pallframe", kNoFrame, work);
        std::fflush(nullptr);
        ::_exit(status);
    }
    return child;
}

pid_t startSupervised(Supervisor& supervisor, const std::function<int()>& work) {
    std::array<int, 2> ends{};
    check(::pipe2(ends.data(), O_CLOEXEC), "pipe");
    Descriptor gate(ends[0]);
    Descriptor opener(ends[1]);
    const pid_t child = startProcess([&] {
        opener.close();
        char none = 0;
        [[maybe_unused]] const auto end = ::read(gate.get(), &none, sizeof(none));
        gate.close();
        return work();
    });
    supervisor.handOnEarlier(child);
    return child;
}

namespace {

bool hasEnded(const Descriptor& process) {
    pollfd ended{process.get(), POLLIN, 0};
    return check(::poll(&ended, 1, 0), "poll") > 0;
}

}  // namespace

Descriptor watch(pid_t pid) {
    return Descriptor(check(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)),
                            "process " + std::to_string(pid)));
}

Descriptor watchSelf() {
    return watch(::getpid());
}

void dieWith(const Descriptor& parent, int signal) {
    check(::prctl(PR_SET_PDEATHSIG, signal), "prctl");
    if (hasEnded(parent)) {
        throw std::runtime_error("interrupted");
    }
}

std::vector<std::filesystem::path> programDirectories() {
    const auto beside = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    const auto daemons = beside.parent_path() / "sbin";
    return std::filesystem::is_directory(daemons) ? std::vector{beside, daemons}
                                                  : std::vector{beside};
}

void searchAsInFrame() {
    std::string path = simulation::kSearchPath;
    for (const auto& directory : programDirectories()) {
        path += ":" + directory.string();
    }
    ::setenv("PATH", path.c_str(), 1);
}

int becomeCommand(const std::vector<std::string>& command, const Supervisor& supervisor) {
    for (const char* ofHost : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
        ::unsetenv(ofHost);
    }
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);  // the caller's other open files
    supervisor.release();
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const std::string& word : command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    ::execvp(words[0], words.data());
    const int status = errno == ENOENT ? 127 : 126;
    std::fprintf(stderr, "pallframe: cannot run %s: %s\n", words[0], std::strerror(errno));
    return status;
}

}  // namespace pallframe::sandbox
