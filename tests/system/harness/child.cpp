#include "child.h"

#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "process_table.h"

namespace harness {

namespace fs = std::filesystem;

using pallframe::simulation::check;

Child::Child(pid_t pid)
    : pid_(pid), watch_(check(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)), "pidfd_open")) {}

Child::~Child() {
    signal(SIGKILL);
    if (!ended_) {
        ::waitpid(pid_, nullptr, 0);
    }
}

void Child::signal(int number) const {
    if (!ended_) {
        ::kill(pid_, number);
    }
}

int Child::waitForEnd(const Deadline& deadline) {
    if (!ended_) {
        waitReadable(watch_.get(), deadline, "the end of process " + std::to_string(pid_));
        check(::waitpid(pid_, &status_, 0), "waitpid");
        ended_ = true;
    }
    return WIFSIGNALED(status_) ? 128 + WTERMSIG(status_) : WEXITSTATUS(status_);
}

fs::path Child::proc() const {
    std::ifstream information("/proc/self/fdinfo/" + std::to_string(watch_.get()));
    for (std::string key, value; information >> key >> value;) {
        if (key == "Pid:") {
            return processRoot() / value;
        }
    }
    throw std::runtime_error("no process " + std::to_string(pid_));
}

void becomeProgram(const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    ::execvp(arguments[0], arguments.data());
    ::perror(arguments[0]);
    ::_exit(127);
}

}  // namespace harness
