#pragma once

#include <poll.h>

#include <deque>
#include <string>
#include <vector>

#include "soak_lib/random.h"
#include "soak_lib/report.h"
#include "soak_lib/requests.h"
#include "soak_lib/simulated_client.h"

namespace soak {

// All clients of a run, and the requests that they send at a rate. The first client asks for and
// sets everything and makes half of the requests; the others ask only questions whose answers do
// not depend on other clients. One more client sends nothing and is never disconnected: it sees
// each connection of the daemon.
class ManyClients {
  public:
    // `count` is at least 1; `rate` is in requests per second, of all clients together.
    ManyClients(size_t count, double rate, Random& random, ExpectedSettings& settings);

    size_t size() const { return clients_.size() - 1; }
    int connectionID(size_t index) const { return clients_.at(index).connectionID(); }
    void appendDescriptors(std::vector<pollfd>& watched) const;

    // Receives what has arrived and connects who is disconnected.
    void step(Clock::time_point now);
    // Sends the requests that are due, or while `paused` discards them. `network`: whether they
    // may set the network settings.
    void sendDue(Clock::time_point now, bool paused, bool network);
    // One request of the first client.
    void set(const Parameter& parameter);
    void get(std::vector<std::string> names);
    // One request of each client.
    void getFromAll();
    void sendPartialSet() { clients_.front().sendPartialSet(); }
    std::string lastValue(const std::string& name) const {
        return clients_.front().lastValue(name);
    }

    bool areReady() const;
    bool areQuiet() const;  // ready, and all requests are answered or lost
    bool isNetworkSetPending() const { return clients_.front().tracker().isNetworkSetPending(); }
    // How often the daemon has connected.
    size_t greetings() const { return clients_.back().tracker().counts().greetings; }

    // Whether requests of that client that are pending or sent from now on may go wrong. When they
    // may not any more, one question shows which of the pending ones were lost.
    void setExcused(size_t index, bool excused);
    void setAllExcused(bool excused);

    void report(Report& report) const;

  private:
    template <typename Number>
    size_t sum(Number number) const;
    size_t pending() const;
    SimulatedClient& chooseClient();

    const Clock::duration interval_;
    Random& random_;
    RequestMaker maker_{random_};
    std::deque<SimulatedClient> clients_;  // the last one only listens
    Clock::time_point nextSend_ = Clock::now();
    size_t notSent_ = 0;
};

}  // namespace soak
