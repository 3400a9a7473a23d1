#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

class CommandOutput;

// Runs shell commands that nobody may wait for without an end. Each is in a process group of its
// own; one that has not ended when its time is over is killed with its group, and a line at error
// priority says so. What a command left in the background is not waited for. Any thread.
class LimitedCommands {
  public:
    using Milliseconds = std::chrono::milliseconds;

    explicit LimitedCommands(Milliseconds limit = std::chrono::seconds(5)) : limit_(limit) {}
    LimitedCommands(const LimitedCommands&) = delete;
    LimitedCommands& operator=(const LimitedCommands&) = delete;

    // The wait status as system(3) gives it, negative with errno when the command was not started.
    int run(const char* command);

    // The first line of what the command has written when it has ended, at most 127 bytes; empty
    // when it was killed. Nothing, with errno, when it was not started.
    std::optional<std::string> firstLine(const char* command);

    // Waits, but not beyond an interruption.
    void pause(Milliseconds time);

    // From now on nothing takes long: a second after this every command under way is killed, a
    // later one has a fraction of a second, and there is no pause. For good.
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
    Clock::time_point deadlineOf(Clock::time_point start);
    void reapAbandoned();

    const Milliseconds limit_;
    std::mutex mutex_;
    std::condition_variable interrupted_;
    std::optional<Clock::time_point> interruptedAt_;
    std::vector<pid_t> abandoned_;  // killed, but held by the kernel
};
