#include "run.h"

#include <linux/close_range.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>

#include "frame/paths.h"
#include "frame/programs.h"
#include "host.h"
#include "root.h"
#include "supervisor.h"
#include "syslog_file.h"

namespace pallframe {

namespace {

using frame::check;
using frame::Descriptor;

constexpr std::chrono::seconds kPatience{3};

// The child's whole life is `work`, its result the exit status; errors become a line and kNoFrame.
pid_t startProcess(const std::function<int()>& work) {
    const pid_t child = check(::fork(), "fork");
    if (child != 0) {
        return child;
    }
    int status = kNoFrame;
    try {
        status = work();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallframe: %s\n", error.what());
    }
    std::fflush(nullptr);
    ::_exit(status);
}

// This process as another one can watch it.
Descriptor watchSelf() {
    return Descriptor(
        check(static_cast<int>(::syscall(SYS_pidfd_open, ::getpid(), 0)), "pidfd_open"));
}

// Lets this process get the signal when its parent dies, also when that has just happened.
void dieWith(const Descriptor& parent, int signal) {
    check(::prctl(PR_SET_PDEATHSIG, signal), "prctl");
    pollfd ended{parent.get(), POLLIN, 0};
    if (check(::poll(&ended, 1, 0), "poll") > 0) {
        throw std::runtime_error("interrupted");
    }
}

void takeAway(const RunRequest& request) {
    if (!request.directory.empty() && !request.keep) {
        std::error_code ignored;
        std::filesystem::remove_all(request.directory, ignored);
    }
}

int becomeCommand(const RunRequest& request, const Supervisor& supervisor) {
    ::setenv("PATH", frame::kSearchPath, 1);
    ::unsetenv("TMPDIR");
    ::close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);  // the caller's other open files
    supervisor.release();
    std::vector<char*> words;
    words.reserve(request.command.size() + 1);
    for (const std::string& word : request.command) {
        words.push_back(const_cast<char*>(word.c_str()));
    }
    words.push_back(nullptr);
    ::execvp(words[0], words.data());
    const int status = errno == ENOENT ? 127 : 126;
    std::fprintf(stderr, "pallframe: cannot run %s: %s\n", words[0], std::strerror(errno));
    return status;
}

// Process 1 of the frame.
int beFirst(const RunRequest& request, Supervisor& supervisor, const Descriptor& keeper) {
    dieWith(keeper, SIGKILL);
    leaveHostMounts();
    bringLoopbackUp();
    enterRoot({request.product, request.directory});
    std::optional<SyslogFile> log;
    if (request.syslog) {
        log.emplace("/dev/log", std::string(frame::paths::kMessages));
        supervisor.serve(log->descriptor(), [&log] { log->takeAll(); });
    }
    supervisor.setPatience(kPatience);
    const pid_t command = startProcess([&] { return becomeCommand(request, supervisor); });
    const int status = supervisor.waitFor(command);
    if (log) {
        log->takeAll();
    }
    return status;
}

int beKeeper(const RunRequest& request, Supervisor& supervisor, const Descriptor& caller) {
    dieWith(caller, Supervisor::kParentDied);
    leaveHost();
    const Descriptor self = watchSelf();
    const pid_t first = startProcess([&] { return beFirst(request, supervisor, self); });
    const int status = supervisor.waitFor(first);
    takeAway(request);
    return status;
}

}  // namespace

int runInFrame(const RunRequest& request) {
    if (!request.directory.empty()) {
        check(::mkdir(request.directory.c_str(), 0755),
              "cannot make a frame in " + request.directory);
    }
    Supervisor supervisor;
    const Descriptor self = watchSelf();
    const pid_t keeper = startProcess([&] { return beKeeper(request, supervisor, self); });
    const int status = supervisor.waitFor(keeper);
    takeAway(request);  // only when the keeper could not
    return status;
}

}  // namespace pallframe
