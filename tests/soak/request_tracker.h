#pragma once

#include <deque>
#include <map>
#include <string>

#include "soak_lib/expected_settings.h"
#include "soak_lib/random.h"
#include "soak_lib/requests.h"

namespace soak {

// A response as the tracker needs it.
struct Answer {
    uint64_t number = 0;  // of its request; 0 when the id is not one of the soak's
    int status = 0;
    std::string name;   // of the parameter in it; empty: none
    std::string value;  // as JSON text
};

struct Counts {
    size_t requests = 0;
    size_t answersDue = 0;
    size_t answers = 0;
    size_t lost = 0;        // answers that did not arrive
    size_t unexpected = 0;  // answers to no request
    size_t wrongStatus = 0;
    size_t wrongValue = 0;  // answers to a GET that differ from the set before it
    size_t notifications = 0;
    size_t unannounced = 0;  // sets without a notification before the answer
    size_t excused = 0;      // of all these failures, those during a fault; they count only here

    // Of the connection.
    size_t connections = 0;
    size_t overheard = 0;    // requests of other clients, which every subscriber receives
    size_t damaged = 0;      // payloads that do not decode
    size_t greetings = 0;    // connections of the daemon
    size_t partialSets = 0;  // notifications of the value that sendPartialSet sent
};

// Tracks the requests of one client: which answers are due, what they have to contain, and what
// the device has to hold afterwards. The device answers requests in their order, so a request is
// lost as soon as a later one is answered. No clock of its own.
class RequestTracker {
  public:
    // Acknowledged sets go to `settings`.
    explicit RequestTracker(ExpectedSettings& settings) : settings_(settings) {}

    void sent(Request request, Clock::time_point now);
    void answered(const Answer& answer);
    void notified(const std::string& name, const std::string& value);
    // Counts the requests that were sent before that time and are not answered as lost.
    void expire(Clock::time_point sentBefore);

    // While excused, requests that are pending or sent may be lost or damaged. What they set is
    // unknown afterwards.
    void setExcused(bool excused);

    size_t pending() const { return pending_.size(); }
    bool isNetworkSetPending() const;
    Counts& counts() { return counts_; }
    const Counts& counts() const { return counts_; }

  private:
    struct PendingRequest {
        Request request;
        Clock::time_point since;
        uint64_t edition;  // of the settings when it was sent
        size_t answersLeft;
        bool excused;
        bool announced = false;
        std::map<std::string, std::string> expected;  // values of a GET
    };

    void countFailure(size_t Counts::*kind, bool excused, size_t times = 1);
    void promise(const PendingRequest& pending);
    void lose(const PendingRequest& pending);
    void finish(const PendingRequest& pending);

    ExpectedSettings& settings_;
    std::deque<PendingRequest> pending_;
    std::map<std::string, std::string> promised_;  // values once all pending sets are carried out
    bool excused_ = false;
    Counts counts_;
};

}  // namespace soak
