#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "soaking/random.h"
#include "soaking/requests.h"

namespace soak {

// A response as far as the books are concerned.
struct Answer {
    uint64_t number = 0;  // of its request
    int status = 0;
    std::string name;   // of the parameter that it carries, if any
    std::string value;  // as JSON text
};

struct Counts {
    size_t requests = 0;
    size_t answersDue = 0;
    size_t answers = 0;
    size_t lost = 0;    // answers that did not come although the connection stood
    size_t cutOff = 0;  // answers that were still due when the connection went
    size_t unexpected = 0;
    size_t wrongStatus = 0;
    size_t wrongValue = 0;  // a GET that did not give what was set before it
    size_t notifications = 0;
    size_t unannounced = 0;  // sets that were carried out without a notification before the answer
    size_t excused = 0;      // all of these faults that happened in trouble, in place of them
};

// The books of a run: every request, what came of it, and what the device must hold now. The device
// works requests off in their order, so a request is lost as soon as a later one is answered. Pure.
class Ledger {
  public:
    void sent(Request request, Clock::time_point now);
    // Gives the request when this was its last answer.
    std::optional<Request> answered(const Answer& answer);
    void notified(const std::string& name, const std::string& value);

    // While trouble is on the way to this client or to the device, what is sent or not answered
    // yet may be lost or damaged.
    void setTrouble(bool trouble);

    // The connection has gone. Whether the sets among them were carried out, nobody knows; they are
    // given back.
    std::vector<Request> cutOff();

    // Counts what was sent before that moment and is not answered as lost.
    void giveUpOn(Clock::time_point sentBefore);

    size_t outstanding() const { return outstanding_.size(); }
    bool networkSetOutstanding() const;
    const Counts& counts() const { return counts_; }

    // What the parameter must hold by its last acknowledged set; nothing when that is not known.
    std::optional<std::string> acknowledged(const std::string& name) const;

  private:
    struct Open {
        Request request;
        Clock::time_point since;
        size_t answersLeft;
        bool excused;
        bool announced = false;
        std::map<std::string, std::string> expected;  // by a GET
    };
    using Known = std::map<std::string, std::string>;

    void fault(size_t Counts::*kind, bool excused, size_t times = 1);
    void lose(const Open& open);
    void finish(const Open& open);

    std::deque<Open> outstanding_;
    Known promised_;  // when everything sent so far was carried out
    Known acknowledged_;
    bool trouble_ = false;
    Counts counts_;
};

}  // namespace soak
