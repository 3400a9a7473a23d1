#include "subject.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace prove {

namespace {

[[noreturn]] void become(const Launch& launch) {
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(launch.output >= 0 ? launch.output : nothing, STDOUT_FILENO);
    ::dup2(launch.error >= 0 ? launch.error : nothing, STDERR_FILENO);
    for (int descriptor = 0; launch.closed && descriptor <= STDERR_FILENO; ++descriptor) {
        ::close(descriptor);
    }
    for (const auto& [name, value] : launch.environment) {
        ::setenv(name.c_str(), value.c_str(), 1);
    }
    for (const auto& [what, most] : launch.limits) {
        const rlimit limit{most, most};
        ::setrlimit(static_cast<__rlimit_resource>(what), &limit);
    }
    std::vector<std::string> words{launch.program};
    words.insert(words.end(), launch.arguments.begin(), launch.arguments.end());
    harness::becomeProgram(words);
}

pid_t start(const Launch& launch) {
    const pid_t pid = pallframe::simulation::check(::fork(), "fork");
    if (pid == 0) {
        become(launch);
    }
    return pid;
}

}  // namespace

Subject::Subject(const Launch& launch) : Child(start(launch)) {}

bool Subject::hasEnded() {
    try {
        waitForEnd(harness::Deadline(std::chrono::milliseconds(0)));
        return true;
    } catch (const harness::TimedOut&) {
        return false;
    }
}

}  // namespace prove
