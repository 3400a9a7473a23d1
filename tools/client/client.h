#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/bus_session.h"
#include "client/device.h"
#include "client/exit_status.h"
#include "client/parameter_cache.h"

namespace client {

// Where the device is and how long to wait for it.
struct ConnectionOptions {
    uint16_t port = 15000;
    std::optional<std::chrono::milliseconds> timeout;  // for every answer
    std::chrono::milliseconds wait{0};                 // for bus and device to appear
    std::string object = kDaemonObject;                // as the bus knows it
};

// What the client receives: only answers; answers and notifications of the device; the same until
// standard output loses its reader; or, until then, all messages on the bus.
enum class Subscription { answers, changes, announcements, traffic };

// The connection id of this process: a million and its process id, so that no two clients of a
// machine share one, and none takes one of the small ids that modules have (the daemon has 8).
int32_t ownConnectionID();

// A session on the bus, the device behind it and the cache of its parameters: what every command of
// pallctl works with. Used by one thread.
class Client {
  public:
    Client(const ConnectionOptions& connection, Subscription subscription);

    // Connects and subscribes. False when the bus does not accept the connection until the
    // deadline, which is two seconds from now by default.
    bool connect();
    bool connect(Deadline giveUp);
    // Connects as soon as there is a bus. kNoBus, after an error message, when the wait is over.
    // kSuccess also when the reader of the output has gone (session().outputGone()).
    ExitStatus waitForBus();
    // Reports a lost connection and reconnects, for as long as the output has a reader and until
    // the deadline. False when it gave up.
    bool reconnect(Deadline giveUp = Deadline::max());
    // Reports once that a missing bus is back. The bus is back when a message has arrived; to be
    // called after receiving.
    void reportConnection();
    // Reports once that the device does not respond, or responds again, after a reading.
    void reportReading(bool answered);
    // Connects and reads these parameters (any form of their names), and retries until the wait is
    // over. Reports what is missing when it gives up. kSuccess, with nothing read, also when the
    // reader of the output has gone.
    ExitStatus read(const std::vector<std::string>& names);

    // The names of the daemon's catalogue under this object; none if the object is not a daemon's.
    std::vector<std::string> catalogue() const;
    // All parameters that the device has described, those of the catalogue first; with `only` just
    // these (full names). Valid until the next reading.
    std::vector<const Parameter*> described(const std::set<std::string>& only = {}) const;

    BusSession& session() { return session_; }
    const BusSession& session() const { return session_; }
    Device& device() { return device_; }
    const Device& device() const { return device_; }
    ParameterCache& cache() { return cache_; }
    const ParameterCache& cache() const { return cache_; }

  private:
    ExitStatus tryToRead(const std::vector<std::string>& names, std::chrono::milliseconds patience);
    bool isDaemon() const;
    void reportMissing(const std::string& subject, const std::string& problem);
    void explain(ExitStatus status) const;

    ConnectionOptions connection_;
    Timeouts timeouts_;
    Subscription subscription_;
    BusSession session_;
    ParameterCache cache_;
    Device device_;
    std::string missing_;       // what was reported as missing; empty: nothing
    bool wasThere_ = false;     // the bus, at least once
    bool hasAnswered_ = false;  // the device, at least once
};

// Prints "pallctl: <subject>: <problem>" on standard error.
void complain(const std::string& subject, const std::string& problem);

}  // namespace client
