#pragma once

#include <string>

#include "pallframe/simulation/system_call.h"

namespace pallframe::sandbox {

// The small system log of a frame: takes what programs send to /dev/log and writes each message,
// "<priority>" first, as one line of a file. Lives in process 1 of the frame.
class SyslogFile {
  public:
    // Binds the socket and opens the file for appending; throws std::system_error.
    SyslogFile(const std::string& socketPath, const std::string& filePath);

    int descriptor() const { return socket_.get(); }  // readable when a message waits
    void takeAll() const;                             // writes all that wait, then returns

  private:
    simulation::Descriptor socket_;
    simulation::Descriptor file_;
};

}  // namespace pallframe::sandbox
