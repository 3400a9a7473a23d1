#include "terminal.h"

#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "harness/deadline.h"

namespace outside {

using frame::check;

Terminal::Terminal(const std::vector<std::string>& words) {
    int terminal = -1;
    pid_ = check(::forkpty(&terminal, nullptr, nullptr, nullptr), "forkpty");
    if (pid_ == 0) {
        std::vector<char*> arguments;
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        ::execvp(arguments[0], arguments.data());
        ::_exit(127);
    }
    terminal_ = frame::Descriptor(terminal);
}

Terminal::~Terminal() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
}

std::string Terminal::readUntil(const std::string& text) {
    std::string all;
    std::array<char, 256> buffer{};
    const harness::Deadline deadline;
    while (all.find(text) == std::string::npos) {
        harness::waitReadable(terminal_.get(), deadline,
                              "'" + text + "' on the terminal; there was: " + all);
        const ssize_t size = ::read(terminal_.get(), buffer.data(), buffer.size());
        if (size <= 0) {
            throw harness::TimedOut("the terminal ended with: " + all);
        }
        all.append(buffer.data(), static_cast<size_t>(size));
    }
    return all;
}

void Terminal::type(const std::string& keys) const {
    check(::write(terminal_.get(), keys.data(), keys.size()), "terminal");
}

int Terminal::waitForEnd() {
    int status = 0;
    check(::waitpid(std::exchange(pid_, -1), &status, 0), "waitpid");
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace outside
