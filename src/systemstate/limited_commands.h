#pragma once

#include <sys/types.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace systemstate {

// The beginning of a command's output: a pipe, and the first line that comes through it. Owned by
// the function that runs the command; other commands do not inherit its ends.
class CommandOutput {
  public:
    CommandOutput();  // both ends are -1, with errno set, when there is no pipe to be had
    ~CommandOutput();
    CommandOutput(const CommandOutput&) = delete;
    CommandOutput& operator=(const CommandOutput&) = delete;

    // For the command; closed here once the command has it.
    int writeEnd() const { return writeEnd_; }
    void closeWriteEnd();

    // To wait at; -1 when nothing more is to be read.
    int readEnd() const { return readEnd_; }

    // Takes what is there, without waiting. Reading ends, and the pipe is closed, at the end of the
    // output, with its 127th byte, and with a failure, whose result is printed on standard output.
    void read();

    // The output up to the first line end or zero byte.
    std::string firstLine() const;

  private:
    static constexpr std::size_t kMaxLineBytes = 127;

    int readEnd_ = -1;
    int writeEnd_ = -1;
    std::array<char, kMaxLineBytes> bytes_{};
    std::size_t filled_ = 0;
};

// Runs shell commands with a time limit. Each is in a process group of its own; a command that
// exceeds the limit is killed with its group, and a line at error priority reports it. Processes
// that a command leaves in the background are not waited for. Any thread.
class LimitedCommands {
  public:
    using Milliseconds = std::chrono::milliseconds;

    explicit LimitedCommands(Milliseconds limit = std::chrono::seconds(5)) : limit_(limit) {}
    LimitedCommands(const LimitedCommands&) = delete;
    LimitedCommands& operator=(const LimitedCommands&) = delete;

    // The wait status as in system(3), negative with errno when the command was not started.
    int run(const char* command);

    // The first line of what the command has written when it has ended, at most 127 bytes; empty
    // when it was killed. Nothing, with errno, when it was not started.
    std::optional<std::string> firstLine(const char* command);

    // Waits, but not beyond an interruption.
    void pause(Milliseconds time);

    // Final: kills running commands after one second, limits later ones to a fraction of a second,
    // and ends pauses at once.
    void interrupt();

  private:
    using Clock = std::chrono::steady_clock;
    struct End {
        int status;
        bool killed;
    };

    pid_t start(const char* command, int output);
    End waitForEnd(const char* command, pid_t child, CommandOutput* output);
    int killGroup(pid_t child);
    Clock::time_point computeDeadline(Clock::time_point start);
    void reapAbandoned();

    const Milliseconds limit_;
    std::mutex mutex_;
    std::condition_variable interrupted_;
    std::optional<Clock::time_point> interruptedAt_;
    std::vector<pid_t> abandoned_;  // killed, but held by the kernel
};

}  // namespace systemstate
