#include "process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <fstream>

#include "process_table.h"

namespace harness {

namespace fs = std::filesystem;

namespace {

using frame::check;
using frame::Descriptor;

[[noreturn]] void become(const std::vector<std::string>& words, int output, int error) {
    ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(error, STDERR_FILENO);
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

pid_t start(const std::vector<std::string>& words, int output, int error) {
    const pid_t pid = check(::fork(), "fork");
    if (pid == 0) {
        become(words, output, error);
    }
    return pid;
}

std::vector<std::string> daemonWords(const std::vector<std::string>& arguments) {
    std::vector<std::string> words{programDirectory() / "pallwatch"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

}  // namespace

fs::path programDirectory() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

Process::Pipe::Pipe() {
    std::array<int, 2> ends{};
    check(::pipe2(ends.data(), O_CLOEXEC), "pipe");
    readEnd = Descriptor(ends[0]);
    writeEnd = Descriptor(ends[1]);
}

Process::Process(const std::vector<std::string>& words) : Process(words, Pipe(), Pipe()) {}

Process::Process(const std::vector<std::string>& words, Pipe output, Pipe error)
    : pid_(start(words, output.writeEnd.get(), error.writeEnd.get())),
      watch_(check(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)), "pidfd_open")),
      output_(words[0] + " standard output", std::move(output.readEnd)),
      error_(words[0] + " standard error", std::move(error.readEnd)) {}

Process::~Process() {
    signal(SIGKILL);
    if (!ended_) {
        ::waitpid(pid_, nullptr, 0);
    }
}

void Process::signal(int number) const {
    if (!ended_) {
        ::kill(pid_, number);
    }
}

int Process::waitForEnd(const Deadline& deadline) {
    if (!ended_) {
        waitReadable(watch_.get(), deadline, "the end of process " + std::to_string(pid_));
        check(::waitpid(pid_, &status_, 0), "waitpid");
        ended_ = true;
    }
    return WIFSIGNALED(status_) ? 128 + WTERMSIG(status_) : WEXITSTATUS(status_);
}

fs::path Process::proc() const {
    std::ifstream information("/proc/self/fdinfo/" + std::to_string(watch_.get()));
    for (std::string key, value; information >> key >> value;) {
        if (key == "Pid:") {
            return processRoot() / value;
        }
    }
    throw std::runtime_error("no process " + std::to_string(pid_));
}

std::vector<std::string> Process::descriptors() const {
    return descriptorsOf(proc());
}

Daemon::Daemon(const std::vector<std::string>& arguments) : Process(daemonWords(arguments)) {}

}  // namespace harness
