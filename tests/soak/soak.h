#pragma once

#include <functional>

#include "harness/process.h"
#include "pallframe/simulation/frame_root.h"
#include "soaking/footprint.h"
#include "soaking/log_drain.h"
#include "soaking/mischief.h"
#include "soaking/options.h"
#include "soaking/poll_clock.h"
#include "soaking/random.h"
#include "soaking/report.h"
#include "soaking/settings_book.h"
#include "soaking/traffic.h"

namespace soak {

// One run of the daemon inside the frame that this process is in, from its start to its end, in one
// thread. Throws std::system_error and harness::TimedOut when there is no going on.
class Soak {
  public:
    explicit Soak(const Options& options);
    Report run();   // everything that can happen to it
    Report idle();  // nothing happens to it

  private:
    void pump();
    void pumpFor(Clock::duration time);
    void pumpUntil(const std::function<bool()>& holds, const std::string& what);
    void warmUp();
    void live(Clock::time_point end);
    void checkBooks();
    void settle();
    void setEverything();
    void editLast();
    void stop();
    std::filesystem::path process() const { return daemon_.proc(); }

    void reportTraffic();
    void reportPolls();
    void reportFootprints();

    const Options options_;
    pallframe::simulation::FrameRoot tree_{"/"};
    Random random_;
    SettingsBook book_;
    Mischief mischief_{tree_, random_, book_};
    LogDrain log_;
    PollClock polls_{tree_};
    Traffic traffic_;
    harness::Daemon daemon_;
    Clock::time_point began_ = Clock::now();
    Report report_;
    Footprint start_;
    Footprint end_;
    size_t audits_ = 0;
    bool paused_ = true;
    bool peaceful_ = true;
};

}  // namespace soak
