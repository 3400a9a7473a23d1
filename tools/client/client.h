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
#include "client/mirror.h"

namespace pallctl {

// Where the device is and how long to wait for it.
struct Reach {
    uint16_t port = 15000;
    std::optional<std::chrono::milliseconds> timeout;  // for every answer
    std::chrono::milliseconds wait{0};                 // for bus and device to appear
    std::string object = kDaemonObject;                // as the bus knows it
};

// What a verb hears of the device: its answers, changes that it announces meanwhile too, or all
// that it announces for as long as somebody reads standard output; or, equally long, all that
// passes over the bus. The first two are carried out whether anybody reads the output or not.
enum class Interest { answers, changes, announcements, traffic };

// The connection id of this process: a million and its process id, so that no two clients of a
// machine share one, and none takes one of the small ids that modules have (the daemon has 8).
int32_t ownConnectionID();

// What every verb works with: a session, the device behind it and what is known of it. A client
// that listens notices when the reader of its standard output has gone. Used by one thread.
class Client {
  public:
    Client(const Reach& reach, Interest interest);

    // Connects, and subscribes what it is interested in. False when the bus does not take it in
    // time: within two seconds when nothing else is said.
    bool connect();
    bool connect(Deadline giveUp);
    // Connects as soon as there is a bus, or the wait is over: kNoBus, after a complaint, then.
    // kSuccess also once the output has gone (session().outputGone()): nobody is left to be told.
    ExitStatus awaitBus();
    // After a lost connection: says so on standard error, and connects again, for as long as
    // somebody reads the output and there is time. False when it gave up.
    bool reconnect(Deadline giveUp = Deadline::max());
    // For what goes on: what is missing is said once on standard error, and so is its coming. The
    // bus has come when something was heard of it; to be called when that may be so.
    void tellNews();
    // The same, and of the device, after a reading that it answered or not.
    void tellReading(bool answered);
    // Connects and reads these parameters (any form of their names), over and over until that works
    // or the wait is over. Says on standard error what is missing when it gives up. kSuccess, with
    // nothing read, also once the output has gone.
    ExitStatus read(const std::vector<std::string>& names);

    // The names of the daemon's catalogue, as this object has them; none for an object that is no
    // daemon's.
    std::vector<std::string> catalogue() const;
    // All parameters that the device has described, those of the catalogue first. With `only`, none
    // but those (full names). Borrowed until the next reading.
    std::vector<const Parameter*> described(const std::set<std::string>& only = {}) const;

    BusSession& session() { return session_; }
    const BusSession& session() const { return session_; }
    Device& device() { return device_; }
    const Device& device() const { return device_; }
    Mirror& mirror() { return mirror_; }
    const Mirror& mirror() const { return mirror_; }

  private:
    ExitStatus tryToRead(const std::vector<std::string>& names, std::chrono::milliseconds patience);
    bool isDaemon() const;
    void tellMissing(const std::string& subject, const std::string& problem);
    void explain(ExitStatus status) const;

    Reach reach_;
    Patience patience_;
    Interest interest_;
    BusSession session_;
    Mirror mirror_;
    Device device_;
    std::string missing_;       // what was said to be missing; empty: nothing
    bool wasThere_ = false;     // the bus, at least once
    bool hasAnswered_ = false;  // the device, at least once
};

// Prints "pallctl: <subject>: <problem>" on standard error.
void complain(const std::string& subject, const std::string& problem);

}  // namespace pallctl
