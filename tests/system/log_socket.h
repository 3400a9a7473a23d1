#pragma once

#include <string>
#include <vector>

#include "pallframe/simulation/system_call.h"

// The system log in the place of the one that a test has had so far, read when the test says so.
// The test's thread.
class LogSocket {
  public:
    explicit LogSocket(int type);  // SOCK_DGRAM or SOCK_STREAM; throws std::system_error

    // The datagrams so far, as they came.
    std::vector<std::string> take() const;

    // What came so far on the next connection of a stream, as it came.
    std::string takeStream() const;

  private:
    pallframe::simulation::Descriptor socket_;
};
