#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/bus_session.h"
#include "client/device.h"
#include "client/device_follower.h"
#include "client/exit_status.h"
#include "client/parameter_cache.h"

namespace client {

// Where the device is and how long to wait for it.
struct ConnectionOptions {
    uint16_t port = 15000;
    std::optional<std::chrono::milliseconds> timeout;  // for every answer
    std::chrono::milliseconds wait{0};                 // for bus and device to appear
    std::string object = kDaemonObject;                // as the bus knows it
    std::chrono::milliseconds connect{2000};           // for the bus to accept a connection
    bool reportsFramingErrors = true;                  // on standard error
    bool reportsFailures = true;                       // of read() and waitForBus(), the same
};

// The connection id of this process: a million and its process id, so that no two clients of a
// machine share one, and none takes one of the small ids that modules have (the daemon has 8).
int32_t ownConnectionID();

// A session on the bus, the device behind it and the cache of its parameters: what every command of
// pallctl works with. Used by one thread.
class Client {
  public:
    // The cache outlives the client, which has one of its own without.
    Client(const ConnectionOptions& connection, Subscription subscription,
           ParameterCache* cache = nullptr);

    // Connects as soon as there is a bus. kNoBus, after an error message, when the wait is over.
    // kSuccess also when the reader of the output has gone (session().outputGone()).
    ExitStatus waitForBus();
    // Connects and reads these parameters (any form of their names, or patterns, which read the
    // whole catalogue), and retries until the wait is over. Reports what is missing when it gives
    // up. kSuccess, with nothing read, also when the reader of the output has gone; kNotFound if
    // only the daemon answers for the object.
    ExitStatus read(const std::vector<std::string>& names);

    // The error message for such a status, "no bus on 127.0.0.1:15000: Connection refused".
    std::string describeFailure(ExitStatus status) const;

    // After read(): receives one message and applies it to the cache, or does what is due until
    // then: reconnects, and reads again what may have changed unnoticed. Reports when bus or device
    // go away and come back.
    void follow(Deadline until);
    // The same without the device: the next payload on the bus; null without one.
    BusSession::Payload receivePayload();
    // Reports once that a missing bus is back: when a message has arrived. follow() does it at its
    // end, a caller that prints what has changed before that.
    void reportConnection();

    // The names of the daemon's catalogue under this object; none if the object is not a daemon's.
    std::vector<std::string> catalogue() const;
    // After read(): the full names of these, and instead of a pattern those of the parameters that
    // it matches. A pattern without a match remains.
    std::vector<std::string> expand(const std::vector<std::string>& names) const;
    // The error message for a name that the device does not describe, with similar names.
    std::string describeUnknown(const std::string& name) const;
    // All parameters that the device has described, those of the catalogue first; with `only` just
    // these (full names). Valid until the next reading.
    std::vector<const Parameter*> described(const std::set<std::string>& only = {}) const;

    BusSession& session() { return session_; }
    const BusSession& session() const { return session_; }
    DeviceFollower& follower() { return follower_; }
    Device& device() { return device_; }
    const Device& device() const { return device_; }
    ParameterCache& cache() { return cache_; }
    const ParameterCache& cache() const { return cache_; }

  private:
    std::vector<std::string> namesToRead(const std::vector<std::string>& names) const;

    // One attempt with a maximum wait for an answer.
    using Attempt = std::function<ExitStatus(std::chrono::milliseconds timeout)>;

    ExitStatus retry(const Attempt& attempt);
    bool connectIfClosed() { return session_.isOpen() || follower_.connect(); }
    void reportLink();
    void reportMissing(const std::string& subject, const std::string& problem);

    ConnectionOptions connection_;
    Subscription subscription_;
    BusSession session_;
    ParameterCache ownCache_;
    ParameterCache& cache_;
    Device device_;
    DeviceFollower follower_;
    std::string missing_;       // what was reported as missing; empty: nothing
    bool wasThere_ = false;     // the bus, at least once
    bool hasAnswered_ = false;  // the device, at least once
};

// Prints "pallctl: <subject>: <problem>" on standard error.
void complain(const std::string& subject, const std::string& problem);
void complain(const std::string& message);

}  // namespace client
