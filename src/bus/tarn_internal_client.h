#pragma once

#include <sys/types.h>

#include <cstdint>
#include <mutex>
#include <string>

namespace lumo {

// The name of this process on the bus: the process id, ".", and the letters and digits of the
// network card's address, which `addressFile` holds as in "00:11:22:33:44:55\n". The last byte
// of the file is dropped. Empty, after a log line, when the file cannot be opened; aborts
// when there is no memory for its text.
std::string readHostId(const std::string& addressFile, pid_t processId);

}  // namespace lumo

// Hands out the ids of the requests that a process sends: a counter from 0 up, "@" and the host
// id, by which a response finds its request. Any thread may ask.
class TarnInternalClient {
  public:
    explicit TarnInternalClient(std::string addressFile);

    // The one whose ids go on the bus.
    static TarnInternalClient& forProcess();

    std::string nextUniqueId();

  private:
    void primeHostID();

    const std::string addressFile_;
    std::mutex mutex_;  // guards everything below
    uint64_t counter_ = 0;
    bool primed_ = false;
    std::string hostId_;
};
