#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "harness/process.h"
#include "pallframe/simulation/frame_root.h"
#include "soak_lib/bus_faults.h"
#include "soak_lib/environment_faults.h"
#include "soak_lib/expected_settings.h"
#include "soak_lib/footprint.h"
#include "soak_lib/many_clients.h"
#include "soak_lib/observers.h"
#include "soak_lib/random.h"
#include "soak_lib/report.h"

namespace soak {

struct Options {
    double minutes = 2;
    double rate = 50;  // requests per second
    uint64_t seed = 0;
    size_t growthKiB = 256;  // anonymous memory that the daemon may gain after the warm-up
    double idleSeconds = 0;  // 0: a run with load
    size_t clients = 1;
};

// One run of the daemon, the simulated bus and its clients, inside the frame of this process and in
// one thread. Throws std::system_error, std::runtime_error and harness::TimedOut when the run
// cannot go on.
class Soak {
  public:
    explicit Soak(const Options& options);
    Report run();   // under load, with faults
    Report idle();  // without both

  private:
    void start();
    void pump();
    void pumpFor(Clock::duration time);
    void pumpUntil(const std::function<bool()>& holds, const std::string& what);
    void compareFiles();
    void settle();
    void setEverything();
    void checkEdit();
    void stop();
    void stopProcess(harness::Process& process, const std::string& name);
    void report();

    const Options options_;
    const pallframe::simulation::FrameRoot root_{"/"};
    Random random_;
    ExpectedSettings settings_;
    EnvironmentFaults environment_{root_, random_, settings_};
    LogObserver log_;
    PollObserver polls_{root_};
    harness::Process bus_;
    ManyClients clients_;
    BusFaults busFaults_{random_, clients_};
    std::optional<harness::Daemon> daemon_;  // started when all clients are connected
    Clock::time_point began_ = Clock::now();
    Report report_;
    size_t comparisons_ = 0;
    bool sending_ = false;
    bool faulty_ = false;  // around the daemon
    Footprint busStart_;
    Footprint daemonStart_;
    Footprint busEnd_;
    Footprint daemonEnd_;
};

}  // namespace soak
