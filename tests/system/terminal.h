#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "frame/system_call.h"

namespace outside {

// A terminal with a program on it, as a person has it. Belongs to the test's thread. The program is
// ended with SIGKILL when it still runs at destruction.
class Terminal {
  public:
    explicit Terminal(const std::vector<std::string>& words);  // throws std::system_error
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    pid_t pid() const { return pid_; }

    // Everything from the last call on up to the text; throws TimedOut with what there was.
    std::string readUntil(const std::string& text);

    void type(const std::string& keys) const;

    int waitForEnd();  // the exit status

  private:
    pid_t pid_ = -1;
    frame::Descriptor terminal_;
};

}  // namespace outside
