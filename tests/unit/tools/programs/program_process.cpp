#include "program_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace {

// Milliseconds that a test waits for what has to come.
constexpr int kTimeout = 30'000;

bool isReadable(int descriptor) {
    pollfd ready{descriptor, POLLIN, 0};
    return ::poll(&ready, 1, kTimeout) > 0;
}

[[noreturn]] void become(const std::vector<std::string>& words, int output, int errors) {
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(errors, STDERR_FILENO);
    ::execvp(arguments.front(), arguments.data());
    ::_exit(127);
}

}  // namespace

ProgramProcess::ProgramProcess(const std::vector<std::string>& words) {
    std::array<int, 2> output{};
    std::array<int, 2> errors{};
    if (::pipe2(output.data(), O_CLOEXEC) != 0 || ::pipe2(errors.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    process_ = ::fork();
    if (process_ == 0) {
        become(words, output[1], errors[1]);
    }
    ::close(output[1]);
    ::close(errors[1]);
    output_.open(output[0]);
    errors_.open(errors[0]);
}

ProgramProcess::~ProgramProcess() {
    if (!ended_) {
        signal(SIGKILL);
        wait();
    }
}

void ProgramProcess::signal(int number) const {
    ::kill(process_, number);
}

size_t ProgramProcess::mostResidentKiB() const {
    std::ifstream status("/proc/" + std::to_string(process_) + "/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            size_t kibibytes = 0;
            status >> kibibytes;
            return kibibytes;
        }
    }
    throw std::runtime_error("the program has gone");
}

int ProgramProcess::wait() {
    if (!ended_) {
        const int handle = static_cast<int>(::syscall(SYS_pidfd_open, process_, 0));
        ended_ = isReadable(handle) && ::waitpid(process_, &status_, 0) == process_;
        ::close(handle);
    }
    if (!ended_) {
        return 1000;
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
}

void ProgramProcess::Stream::close() {
    if (descriptor_ >= 0) {
        ::close(std::exchange(descriptor_, -1));
    }
}

bool ProgramProcess::Stream::hasMore(std::chrono::milliseconds time) const {
    pollfd ready{descriptor_, POLLIN, 0};
    return !pending_.empty() || ::poll(&ready, 1, static_cast<int>(time.count())) > 0;
}

std::string ProgramProcess::Stream::readLine() {
    size_t end = pending_.find('\n');
    while (end == std::string::npos && readSome()) {
        end = pending_.find('\n');
    }
    const std::string line = pending_.substr(0, end);
    pending_.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}

std::string ProgramProcess::Stream::readAll() {
    while (readSome()) {
    }
    return std::exchange(pending_, {});
}

// False at the end of the stream, and when nothing comes in time.
bool ProgramProcess::Stream::readSome() {
    if (!isReadable(descriptor_)) {
        return false;
    }
    std::array<char, 4096> chunk{};
    const ssize_t size = ::read(descriptor_, chunk.data(), chunk.size());
    if (size > 0) {
        pending_.append(chunk.data(), static_cast<size_t>(size));
    }
    return size > 0;
}

namespace {

// The beginning of a command line. A program of another architecture is run by its emulator.
std::vector<std::string> runnable(const char* program) {
    const std::string emulator = PROGRAM_EMULATOR;
    return emulator.empty() ? std::vector<std::string>{program}
                            : std::vector<std::string>{emulator, program};
}

std::vector<std::string> onAFreePort(std::vector<std::string> words) {
    words.insert(words.begin(), "--port=0");
    return pallbusCommand(words);
}

}  // namespace

BusProcess::BusProcess(const std::vector<std::string>& words)
    : process_(onAFreePort(words)), port_(portOf(process_.readLine())) {}

Outcome pallctl(uint16_t port, const std::vector<std::string>& words) {
    return runProgram(pallctlCommand(port, words));
}

Outcome runProgram(const std::vector<std::string>& words) {
    ProgramProcess process(words);
    Outcome outcome;
    outcome.output = process.restOfOutput();
    outcome.errors = process.errors();
    outcome.status = process.wait();
    return outcome;
}

std::vector<std::string> pallctlCommand(uint16_t port, const std::vector<std::string>& words) {
    std::vector<std::string> command = runnable(PALLCTL_PROGRAM);
    command.insert(command.end(), {"--port", std::to_string(port)});
    command.insert(command.end(), words.begin(), words.end());
    return command;
}

std::vector<std::string> pallbusCommand(const std::vector<std::string>& words) {
    std::vector<std::string> command = runnable(PALLBUS_PROGRAM);
    command.insert(command.end(), words.begin(), words.end());
    return command;
}

std::vector<std::string> inShell(const std::string& script,
                                 const std::vector<std::string>& command) {
    std::vector<std::string> words{"/bin/sh", "-c", script, "sh"};
    words.insert(words.end(), command.begin(), command.end());
    return words;
}

uint16_t portOf(const std::string& line) {
    const std::string address = "127.0.0.1:";
    const size_t at = line.rfind(address);
    return at == std::string::npos ? uint16_t{0}
                                   : static_cast<uint16_t>(std::strtoul(
                                         line.c_str() + at + address.size(), nullptr, 10));
}
