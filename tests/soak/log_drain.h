#pragma once

#include <array>
#include <cstddef>

#include "pallframe/simulation/system_call.h"

namespace soak {

// The frame's system log, which nobody keeps: lines are counted by priority, so that the daemon
// never waits for a full one.
class LogDrain {
  public:
    LogDrain();  // takes /dev/log; throws std::system_error

    int descriptor() const { return socket_.get(); }
    void takeAll();
    // Lines of that priority, LOG_EMERG (0) to LOG_DEBUG (7).
    size_t lines(int priority) const { return lines_.at(static_cast<size_t>(priority)); }

  private:
    pallframe::simulation::Descriptor socket_;
    std::array<size_t, 8> lines_{};
};

}  // namespace soak
