#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "harness/process.h"
#include "soaking/crowd_client.h"
#include "soaking/footprint.h"
#include "soaking/log_drain.h"
#include "soaking/options.h"
#include "soaking/random.h"
#include "soaking/report.h"
#include "soaking/requests.h"
#include "soaking/trouble_deeds.h"

namespace soak {

// One run of the daemon and the simulated bus, with many clients between whom nothing may get mixed
// up or lost but by the trouble that the bus is told to make. Inside the frame that this process is
// in, in one thread. Throws std::system_error and harness::TimedOut when there is no going on.
class Crowd {
  public:
    explicit Crowd(const Options& options);
    Report run();

  private:
    void gather();
    void pump();
    void pumpUntil(const std::function<bool()>& holds, const std::string& what);
    void receive(Clock::time_point now);
    void sendDue(Clock::time_point now);
    bool allQuiet() const;

    void stepTrouble(Clock::time_point now);
    void beginTrouble(Clock::time_point now);
    void tellBus(const char* words) const;
    void setTrouble(bool trouble);

    void settle();
    void stop();
    void reportCounts();
    void reportLines();
    void reportFootprint(const std::string& whose, const Footprint& start, const Footprint& end,
                         uint64_t growthKiB);

    const Options options_;
    Random random_;
    RequestMaker maker_{random_};
    LogDrain log_;
    harness::Process bus_;
    std::optional<harness::Daemon> daemon_;  // after all clients
    std::deque<CrowdClient> clients_;
    Clock::time_point began_ = Clock::now();
    Clock::time_point nextSend_ = began_;
    bool paused_ = true;
    size_t notSent_ = 0;  // came due for a client that had no connection

    enum class Phase { calm, trouble, aftermath };
    Phase phase_ = Phase::calm;
    const TroubleDeed* deed_ = nullptr;
    size_t victim_ = 0;  // in clients_
    Clock::time_point phaseEnd_;
    std::map<std::string, size_t> deeds_;  // by name

    Footprint busStart_;
    Footprint daemonStart_;
    Report report_;
};

}  // namespace soak
