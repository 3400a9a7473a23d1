#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "deadline.h"
#include "pallframe/simulation/system_call.h"

namespace harness {

// A process that a test has forked, whatever its standard input and outputs are. Ended with SIGKILL
// when it still runs at destruction.
class Child {
  public:
    explicit Child(pid_t pid);  // throws std::system_error
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t pid() const { return pid_; }

    void signal(int number) const;  // no effect when it has ended

    // Waits for its end; gives its status as a shell has it, 128 + signal when a signal ended it.
    // Throws TimedOut.
    int waitForEnd(const Deadline& deadline = Deadline());

    // Its directory under /proc, also where that numbers processes otherwise.
    std::filesystem::path proc() const;

  private:
    pid_t pid_;
    pallframe::simulation::Descriptor watch_;
    bool ended_ = false;
    int status_ = 0;
};

// For the child itself: words[0] is the program, searched like a shell does.
[[noreturn]] void becomeProgram(const std::vector<std::string>& words);

}  // namespace harness
