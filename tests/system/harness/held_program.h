#pragma once

#include <string>
#include <string_view>

#include "deadline.h"
#include "frame.h"

namespace harness {

// A program of the frame that, each time it is called, runs until the test lets it go. Stands in
// the place of the frame's own one from construction on. The test's thread.
class HeldProgram {
  public:
    HeldProgram(const Frame& frame, std::string_view path);  // throws std::system_error

    // Waits until it was called that many times in all; throws TimedOut.
    void waitForCalls(size_t count, const Deadline& deadline = Deadline()) const;

    // Ends one call, the present or the next one, with exit status 0.
    void release() const;

    // How many calls came to their end.
    size_t ended() const;

  private:
    const Frame& frame_;
    std::string name_;  // of the files that speak of it, without their endings
    pallframe::simulation::Descriptor gate_;
};

}  // namespace harness
