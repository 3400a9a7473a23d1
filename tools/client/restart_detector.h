#pragma once

#include <cstdint>
#include <string>

namespace client {

// Tells a restart of the daemon from a new connection of it: a notification has an id such as
// "24@30.001122334455", a number that grows, the process and the network card. Used by one thread.
class RestartDetector {
  public:
    // A notification of the daemon with that id.
    void observe(const std::string& id);
    // The same for the first one on a new connection. True if the daemon is another process than
    // before, or if the number is among the first ones of a process.
    bool observeGreeting(const std::string& id);

  private:
    // The login has three messages; the greeting follows.
    static constexpr uint64_t kMaxFirstNumber = 4;

    std::string process_;  // behind the number; empty: not known
};

}  // namespace client
