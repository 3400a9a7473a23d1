#pragma once

#include <map>
#include <string>

#include "soaking/bus.h"
#include "soaking/ledger.h"
#include "soaking/mischief.h"
#include "soaking/random.h"
#include "soaking/requests.h"
#include "soaking/settings_book.h"

namespace soak {

// The bus and all its clients in one: sends requests at a rate, keeps the books on what comes back,
// answers what the daemon asks, and now and then fails in every way a bus can fail.
class Traffic {
  public:
    struct Line {
        size_t connections = 0;
        size_t outages = 0;
        size_t duringOutage = 0;             // requests that came due while they could not be sent
        size_t leftByItself = 0;             // connections that the daemon closed without a reason
        size_t stayedOnSilence = 0;          // silences that it did not leave
        Clock::duration longestReconnect{};  // from the bus being there to the connection
    };

    // `rate` requests a second; 0 for none and no outages either.
    Traffic(Random& random, SettingsBook& book, Mischief& mischief, double rate);

    const Bus& bus() const { return bus_; }
    bool isReading() const { return bus_.isConnected() && !deaf_; }
    void acceptConnection(Clock::time_point now);
    void receive(Clock::time_point now);

    // Ends and begins outages and sends what is due; while `paused` neither begins anew.
    void step(Clock::time_point now, bool paused);
    bool isQuiet() const { return isUsable() && ledger_.outstanding() == 0; }

    void set(const Parameter& parameter, Clock::time_point now) {
        send(maker_.set(parameter), now);
    }
    void get(std::vector<std::string> names, Clock::time_point now) {
        send(maker_.get(std::move(names)), now);
    }
    // The last value that a GET gave, as JSON text.
    std::string lastGot(const std::string& name) { return got_[name]; }

    // From now on the daemon may leave.
    void expectEnd() { ending_ = true; }

    const Ledger& ledger() const { return ledger_; }
    void giveUpOn(Clock::time_point sentBefore) { ledger_.giveUpOn(sentBefore); }
    const Line& line() const { return line_; }

  private:
    struct Outage;
    static const Outage kOutages[];
    enum class Phase { none, refusing, silent, halfSent, deafened };

    bool isUsable() const { return bus_.isConnected() && phase_ == Phase::none; }
    bool mute() const { return phase_ == Phase::silent || phase_ == Phase::halfSent; }
    void begin(Phase phase, Clock::time_point until);
    void endPhase(Clock::time_point now);
    void drop(Clock::time_point now);
    void refuse(Clock::time_point now);
    void fallSilent(Clock::time_point now);
    void sendHalf(Clock::time_point now);
    void cutFrame(Clock::time_point now);
    void goDeaf(Clock::time_point now);
    void makeNoise(Clock::time_point now);

    void sendDue(Clock::time_point now, bool paused);
    void send(Request request, Clock::time_point now);
    void lose(Clock::time_point now);
    void handle(const TarnInternalMessage& message);
    void handleResponse(const TarnInternalMessage& message);
    void serve(const TarnInternalMessage& message);
    void reply(const TarnInternalMessage& request, const std::string& param);
    void acknowledge(const Request& request);

    Random& random_;
    SettingsBook& book_;
    Mischief& mischief_;
    const double rate_;
    RequestMaker maker_{random_};
    Ledger ledger_;
    Bus bus_;
    Line line_;
    std::map<std::string, std::string> got_;
    std::map<uint64_t, uint64_t> editions_;  // of the settings, by the number of their set
    Phase phase_ = Phase::none;
    bool deaf_ = false;
    bool ending_ = false;
    Clock::time_point until_;
    std::string otherHalf_;
    Clock::time_point nextOutage_;
    Clock::time_point nextSend_;
    Clock::time_point reachableSince_;
};

}  // namespace soak
