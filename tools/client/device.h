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
    bool isThroughPrefix() const { return object_.isThroughPrefix(); }
    // Through a prefix the daemon tells only values that are saved or have changed.
    bool hidesValue(const Parameter& parameter) const {
        return isThroughPrefix() && !hasValue(parameter);
    }
    std::string home() const { return object_.home(); }

    // Names under this object.
    std::string fullName(const std::string& name) const { return object_.fullName(name); }
    std::vector<std::string> fullNames(std::vector<std::string> names) const;
    std::string leafName(const std::string& name) const { return object_.leafName(name); }

    // Requests the descriptors of these parameters (full names) and of the whole device, which has
    // only the saved ones. Requests once more what is missing or in doubt afterwards, because an
    // answer may have been lost. True when the device answered: parameters that the cache does not
    // describe then do not exist.
    bool read(const std::vector<std::string>& names) { return read(names, timeouts_.read); }
    bool read(const std::vector<std::string>& names, std::chrono::milliseconds timeout);

    // Sets one parameter (full name). Returns the status code of the answer; empty without one.
    std::optional<int> set(const std::string& name, util::UniqueJSON value);

    // The same without waiting: queues the requests and returns the id of the (last) answer.
    std::string ask(const std::vector<std::string>& names);
    // The names to request once more after a reading; empty when all are described without doubt.
    std::optional<std::vector<std::string>> openNames(const std::vector<std::string>& names) const;
    std::string askToSet(const std::string& name, util::UniqueJSON value);

    // Updates the cache from a notification or an answer of the device; ignores other messages.
    void handleMessage(const TarnInternalMessage& message);
    // Whether the daemon has announced a new start since the last call.
    bool takeRestart() { return std::exchange(restarted_, false); }

  private:
    void askByName(const std::vector<std::string>& names);
    bool readOnce(const std::vector<std::string>& names, Deadline deadline);
    std::string beginReading(const std::vector<std::string>& names);
    std::optional<TarnInternalMessage> receive(Deadline deadline);
    std::optional<TarnInternalMessage> awaitAnswer(const std::string& id, Deadline deadline);

    BusSession& session_;
    ParameterCache& cache_;
    DevicePath object_;
    Timeouts timeouts_;
    bool restarted_ = false;
};

}  // namespace client
