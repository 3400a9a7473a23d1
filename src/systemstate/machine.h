#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "systemstate/limited_commands.h"
#include "util/file_replacement.h"

namespace systemstate {

// The time limit of a command. A command that a request causes has none; a command that the poll
// runs has one.
enum class TimeLimit { none, fiveSeconds };

// The only access to the host: its files, under a root that is empty on a frame and a directory of
// samples in tests, and its commands. Owned by main, which outlives every user. Both threads use
// it, for different things; the calls themselves keep no state. Commands see the real root.
class Machine {
  public:
    explicit Machine(std::string root = "");
    virtual ~Machine() = default;
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // The root followed by `absolute`, which begins with a slash.
    std::string path(const char* absolute) const;

    // Runs a shell command and waits for it: its wait status as in system(3), 0 for success,
    // negative when it could not be started. errno is as the command left it; it is cleared before,
    // so that a mere exit code has no old error text. With a limit see LimitedCommands.
    int run(const char* command, TimeLimit limit = TimeLimit::none);

    // Sets a limit for runs without one of their own; a run that exceeds it is killed with its
    // group. For the start: these commands are the daemon's own, and no request is served before
    // they end. Before the second thread starts.
    void limitRuns(std::optional<std::chrono::milliseconds> limit);

    // Runs a shell command, waits for it for five seconds at most, and returns the first line of
    // its output without the line end, at most 127 bytes. Nothing, and a log line at error
    // priority, when it was not started.
    std::optional<std::string> firstLine(const char* command);

    // Whether the path can be reached, by access(2) with F_OK.
    bool exists(const char* absolute) const;

    // Whether stat(2) of the path works.
    bool stats(const char* absolute) const;

    // The file's bytes, at most the first mebibyte of them (no file of a frame comes near it).
    // Nothing, with errno set, when it cannot be opened; the bytes so far when reading fails; empty
    // for anything but a regular file. Throws only std::bad_alloc.
    std::optional<std::string> readFile(const char* absolute) const;

    // Puts a new file with that text in the place of the old one, as replaceFile does.
    util::WriteFailure writeFile(const char* absolute, std::string_view text) const;

    // Lets the calling thread wait if there is no event to wait for.
    void pause(std::chrono::milliseconds time) { waitFor(time); }

    // The daemon is to end: see LimitedCommands. Any thread.
    void interrupt() { limited_.interrupt(); }

    // Whether a command is under way, on any thread. Any thread.
    bool isRunningCommand() const { return commandsUnderWay_.load() > 0; }

    // Called on the commanding thread before each command, to send queued messages before a command
    // that may take a minute. Set before the second thread starts.
    void setBeforeCommand(std::function<void()> hook);

  private:
    virtual int runCommand(const char* command);
    virtual int runLimitedCommand(const char* command);
    virtual std::optional<std::string> readCommand(const char* command);
    virtual void waitFor(std::chrono::milliseconds time);

    std::string root_;
    std::function<void()> beforeCommand_;
    std::atomic<int> commandsUnderWay_{0};
    LimitedCommands limited_;
    std::optional<LimitedCommands> limitedRuns_;
};

}  // namespace systemstate
