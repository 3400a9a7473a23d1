#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/bus_session.h"
#include "client/device.h"
#include "client/parameter_cache.h"

namespace client {

// What a connection receives: only answers; answers and notifications of the device; the same until
// standard output loses its reader; or, until then, all messages on the bus.
enum class Subscription { answers, changes, announcements, traffic };

// How far the device is reached.
enum class Link { noBus, noDevice, connected };

// Keeps the cache of a device's parameters up to date: reconnects, reads everything again whenever
// bus or daemon were away, and asks every few seconds whether the device still answers. Keeps
// references to session, device and cache, which outlive it. Used by one thread.
//
// A caller with a loop of its own passes each message to take(), and calls step() afterwards and at
// nextStep(); apart from connecting these never wait. follow() and read() are such loops.
class DeviceFollower {
  public:
    DeviceFollower(BusSession& session, Device& device, ParameterCache& cache,
                   Subscription subscription, std::chrono::milliseconds connectTimeout);

    // Connects and subscribes. False when the bus does not accept the connection in time.
    bool connect() { return connect(Clock::now() + connectTimeout_); }
    bool connect(Deadline giveUp);

    // The parameters to read (full names). Until this is called the follower only keeps the
    // connection.
    void setNames(std::vector<std::string> names);
    // Reads them at once, on an open session. True when the device answered in time: parameters
    // that the cache does not describe then do not exist.
    bool read(std::vector<std::string> names) { return read(std::move(names), usualTimeout()); }
    bool read(std::vector<std::string> names, std::chrono::milliseconds timeout);
    // Receives one message, or does what is due until then. Empty without a message.
    BusSession::Payload receivePayload(Deadline until);
    // The same, and applies the message to the cache.
    void follow(Deadline until);

    // `restarted`: the message says that the daemon is new on the bus.
    void take(const TarnInternalMessage& message, bool restarted, Deadline now);
    // Does what is due: reconnects, asks, stops waiting for an answer.
    void step(Deadline now);
    Deadline nextStep() const;
    // Reads everything at the next step.
    void readAgain();
    // Until then a missing answer means nothing: the device carries out a set.
    void setBusyUntil(Deadline end) { busyUntil_ = end; }

    Link link() const { return link_; }
    // Whether the cache was read since bus or daemon were away.
    bool isCurrent() const { return !isStale_; }
    // Whether the device does not respond, although the bus has spoken since it was asked.
    bool isUnresponsive() const { return isOverdue_ && hasHeard_; }

  private:
    // A request that the device has not answered yet.
    struct Question {
        std::string id;
        Deadline deadline;
        std::vector<std::string> names;
        bool isRepeated = false;  // for what was open after the answer to the one before
    };

    void ask(std::vector<std::string> names, Deadline deadline, bool isRepeated = false);
    std::chrono::milliseconds usualTimeout() const { return device_.timeouts().read; }
    void askForAll(Deadline now) { ask(names_, now + timeout_); }
    void endReading(Deadline now);
    void giveUpAnswer(Deadline now);

    BusSession& session_;
    Device& device_;
    ParameterCache& cache_;
    Subscription subscription_;
    std::chrono::milliseconds connectTimeout_;
    std::vector<std::string> names_;
    std::chrono::milliseconds timeout_;  // of the next question
    bool asks_ = false;
    Link link_ = Link::noBus;
    bool isStale_ = true;     // the cache may be old
    bool isOverdue_ = false;  // the last question was not answered in time
    bool hasHeard_ = false;   // from the bus, since the first question without an answer
    Deadline nextAttempt_;
    Deadline nextQuestion_;
    Deadline busyUntil_;
    std::optional<Question> question_;
};

}  // namespace client
