#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/system_call.h"
#include "soak_lib/random.h"
#include "soak_lib/report.h"

namespace soak {

// Sees each status poll of the daemon from outside: from the second on, every poll opens the
// converter's register dump, which no other program in the frame opens, and the kernel reports that
// (inotify(7)). So polls are counted exactly, also while the daemon has no bus.
class PollObserver {
  public:
    // Observes from now on; throws std::system_error.
    explicit PollObserver(const pallframe::simulation::FrameRoot& root);

    int descriptor() const { return watch_.get(); }
    // Takes what has happened, without waiting.
    void takeEvents(Clock::time_point now);

    size_t polls() const { return polls_; }
    // Fails when the battery was not sampled in exactly every 151st poll.
    void report(Report& report) const;

  private:
    void notePoll(Clock::time_point now);

    const pallframe::simulation::FrameRoot& root_;
    pallframe::simulation::Descriptor watch_;
    size_t polls_ = 0;
    Clock::time_point last_;
    Clock::duration longestGap_{};
    std::vector<size_t> batterySamplings_;  // numbers of their polls; the first poll seen is 1
    size_t commandsRead_ = 0;               // bytes of the frame's list of commands
};

// The frame's system log: counts lines by priority and keeps none, for as long as a run may take.
class LogObserver {
  public:
    LogObserver();  // binds /dev/log; throws std::system_error

    int descriptor() const { return socket_.get(); }
    // Takes all lines that have arrived, without waiting.
    void takeLines();
    void report(Report& report) const;

  private:
    pallframe::simulation::Descriptor socket_;
    std::array<size_t, 8> lines_{};  // by priority, LOG_EMERG (0) to LOG_DEBUG (7)
};

}  // namespace soak
