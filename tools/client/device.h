#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/bus_session.h"
#include "client/device_path.h"
#include "client/exit_status.h"
#include "client/parameter_cache.h"
#include "client/restart_detector.h"

namespace client {

// Whether the status code of an answer means success.
constexpr bool isTaken(int statusCode) {
    return statusCode >= 200 && statusCode < 300;
}

// The exit status for the status code of an answer to a set: kSuccess, kRefused or kNotFound.
constexpr ExitStatus exitStatusFor(int statusCode) {
    constexpr int kNotFoundCode = 404;
    if (isTaken(statusCode)) {
        return kSuccess;
    }
    return statusCode == kNotFoundCode ? kNotFound : kRefused;
}

// The maximum wait for one answer. A set is answered when the commands that it runs have ended, and
// a restart of the network takes long.
struct Timeouts {
    std::chrono::milliseconds read{2000};
    std::chrono::milliseconds set{60000};
};

// Sends requests to the daemon's device under the name of its object: "system", or "frameB.system"
// for a daemon that is reached through a prefix. Notifications that arrive during a wait go into
// the cache, too. Keeps references to session and cache, which outlive it. Used by one thread.
//
// A request through a prefix for the descriptor of a parameter makes the daemon rename the
// parameter for good, and setting a renamed parameter has no effect; a request for a value is not
// answered. So through a prefix this class requests only the descriptor of the whole device, which
// changes nothing, and learns the others from notifications.
class Device {
  public:
    // A request with more names could cause more answers than the daemon's queue holds.
    static constexpr size_t kNamesPerRequest = 300;

    Device(BusSession& session, ParameterCache& cache, std::string object, Timeouts timeout);

    const std::string& object() const { return object_.path(); }
    bool isDaemon() const { return home() == kDaemonObject; }
    bool isThroughPrefix() const { return object_.isThroughPrefix(); }
    // Through a prefix the daemon announces only values that are saved or have changed.
    bool hidesValue(const Parameter& parameter) const {
        return isThroughPrefix() && !hasValue(parameter);
    }
    std::string home() const { return object_.home(); }
    const Timeouts& timeouts() const { return timeouts_; }

    // Names under this object. Those of the daemon's catalogue may be given in any case.
    std::string fullName(const std::string& name) const;
    std::vector<std::string> fullNames(std::vector<std::string> names) const;
    std::string leafName(const std::string& name) const { return object_.leafName(name); }

    // Sets one parameter (full name). Returns the status code of the answer; empty without one.
    std::optional<int> set(const std::string& name, util::UniqueJSON value);

    // Queues a set and returns the id of the answer.
    std::string askToSet(const std::string& name, util::UniqueJSON value);

    // Queues requests for the descriptors of these parameters (full names) and of the whole device,
    // which has only the saved ones. Returns the id of the last answer.
    std::string ask(const std::vector<std::string>& names);
    // Queues the smallest request that the device answers. Returns the id of the answer.
    std::string probe();
    // The names to request once more after that answer, because one may have been lost: what is
    // missing or in doubt. Empty when all are described without doubt.
    std::optional<std::vector<std::string>> openNames(const std::vector<std::string>& names) const;

    // Updates the cache from a notification or an answer of the device; ignores other messages.
    // True when the message announces that the daemon is new on the bus.
    bool handleMessage(const TarnInternalMessage& message);

    // Whether the daemon has restarted since the last call.
    bool takeRestart() { return std::exchange(hasRestarted_, false); }

    // Whether the answers came from the daemon although this is not its object.
    bool isForeign() const { return isForeign_; }

  private:
    void askByName(const std::vector<std::string>& names);

    BusSession& session_;
    ParameterCache& cache_;
    DevicePath object_;
    Timeouts timeouts_;
    RestartDetector restarts_;
    bool hasRestarted_ = false;
    bool isForeign_ = false;
};

}  // namespace client
