#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "collector.h"
#include "deadline.h"

namespace harness {

// The directory of the programs that were built with this test.
std::filesystem::path programDirectory();

// A program started by a test. Standard output and error are collected, standard input is empty.
// Ended with SIGKILL when it still runs at destruction.
class Process {
  public:
    // words[0] is the program, searched like a shell does; throws std::system_error.
    explicit Process(const std::vector<std::string>& words);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t pid() const { return pid_; }
    Collector& output() { return output_; }
    Collector& error() { return error_; }

    void signal(int number) const;  // no effect when it has ended

    // Waits for its end; gives its status as a shell has it, 128 + signal when a signal ended it.
    // Throws TimedOut.
    int waitForEnd(const Deadline& deadline = Deadline());

    // Its directory under /proc, also where that numbers processes otherwise.
    std::filesystem::path proc() const;

    // What its descriptors refer to ("socket:[123]", a path, …), in the order of their numbers.
    std::vector<std::string> descriptors() const;

  private:
    struct Pipe {
        Pipe();
        frame::Descriptor readEnd;
        frame::Descriptor writeEnd;
    };

    Process(const std::vector<std::string>& words, Pipe output, Pipe error);

    pid_t pid_;
    frame::Descriptor watch_;
    bool ended_ = false;
    int status_ = 0;
    Collector output_;
    Collector error_;
};

// The daemon, as built and unmodified.
class Daemon : public Process {
  public:
    explicit Daemon(const std::vector<std::string>& arguments = {});
};

}  // namespace harness
