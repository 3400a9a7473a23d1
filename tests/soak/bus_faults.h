#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <span>
#include <string>

#include "soak_lib/many_clients.h"
#include "soak_lib/random.h"
#include "soak_lib/report.h"

namespace soak {

// Whose answers a fault may cost.
enum class Victims { none, oneClient, allClients };

// What a fault does to the daemon's connection: nothing, the bus closes it, or the daemon has to
// notice and leave it before the fault ends.
enum class DaemonLink { stays, isCut, isLeft };

// A fault that the bus injects. The commands are lines of its fault language; "ID" is replaced by
// the connection id of a client that is chosen each time. The fault ends with "clear".
struct BusFault {
    const char* name;
    int64_t weight;
    Victims victims;
    DaemonLink daemon;
    std::chrono::milliseconds lasts;
    const char* begin;
    const char* end = nullptr;  // after "clear"; null: nothing
    bool sendsPartialSet = false;
};

std::span<const BusFault> busFaults();
// The commands, with the connection id in place of "ID".
std::string nameClient(std::string commands, int connectionID);

// Injects one fault after the other into the running bus. While one is active, and until all have
// reconnected afterwards, the requests of its victims are excused.
class BusFaults {
  public:
    BusFaults(Random& random, ManyClients& clients) : random_(random), clients_(clients) {}

    // Ends a fault that is over, and begins one when it is due and `mayBegin`. Throws
    // std::runtime_error when the bus rejects a fault, harness::TimedOut when a client or the
    // daemon does not reconnect.
    void step(Clock::time_point now, bool mayBegin);
    bool isIdle() const { return phase_ == Phase::idle; }
    // Whether a set may be carried out whose answer is not expected any more.
    bool mayLoseAnswers() const { return !isIdle() && fault_->victims != Victims::none; }

    void report(Report& report) const;

  private:
    enum class Phase { idle, active, recovery };

    void begin(Clock::time_point now);
    void end(Clock::time_point now);
    void expectReconnect(Clock::time_point now);
    void noticeReconnect(Clock::time_point now);
    bool hasRecovered(Clock::time_point now) const;
    void inject(const char* commands) const;
    void setExcused(bool excused);

    Random& random_;
    ManyClients& clients_;
    Phase phase_ = Phase::idle;
    const BusFault* fault_ = nullptr;
    size_t victim_ = 0;  // index of a client
    Clock::time_point next_;
    Clock::time_point end_;  // of the active fault

    bool reconnectExpected_ = false;
    size_t greetingsBefore_ = 0;
    Clock::time_point reachableSince_;
    Clock::duration longestReconnect_{};
    size_t reconnects_ = 0;         // of the daemon, with a fault as their cause
    size_t unnoticedSilences_ = 0;  // blackholes that the daemon did not leave
    std::map<std::string, size_t> counts_;
};

}  // namespace soak
