#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/system_call.h"
#include "soaking/random.h"

namespace soak {

// Sees each status poll of the daemon from outside: from the second on, every poll opens the
// converter's register dump, which nothing else in the frame opens, and the kernel tells who
// watches its directory (inotify(7)). So polls are counted exactly, also while the bus is away.
class PollClock {
  public:
    // Watches from now on; throws std::system_error.
    explicit PollClock(const pallframe::simulation::FrameRoot& tree);

    int descriptor() const { return watch_.get(); }
    void takeEvents(Clock::time_point now);

    size_t polls() const { return polls_; }
    Clock::duration longestGap() const { return longestGap_; }

    // Polls at which the battery's load was switched on, by their number; the first poll seen is 1.
    const std::vector<size_t>& batterySamplings() const { return batterySamplings_; }

  private:
    void poll(Clock::time_point now);

    const pallframe::simulation::FrameRoot& tree_;
    pallframe::simulation::Descriptor watch_;
    size_t polls_ = 0;
    Clock::time_point last_;
    Clock::duration longestGap_{};
    std::vector<size_t> batterySamplings_;
    size_t commandsRead_ = 0;  // bytes of the frame's list of commands
};

}  // namespace soak
