#pragma once

#include <string>
#include <vector>

#include "bus/tarn_internal_message.h"
#include "client/parameter_cache.h"

namespace client {

// The object that the daemon serves.
inline constexpr const char* kDaemonObject = "system";

// The parameter that the daemon announces first on each of its connections.
inline constexpr const char* kFirstNotification = "frameName";

// The name of the descriptor of the whole device among the values.
inline constexpr const char* kWholeDevice = "paramDescriptor";

// The object path of a device on the bus: "system", or "frameB.system" for a daemon that is reached
// through a prefix. Maps between names of parameters, and applies messages to a cache. Plain data.
class DevicePath {
  public:
    explicit DevicePath(std::string path) : path_(std::move(path)) {}

    const std::string& path() const { return path_; }
    bool isThroughPrefix() const { return path_.find('.') != std::string::npos; }

    // The full name, "system.ipAddress" or "frameB.system.ipAddress", of any form of a name; the
    // name in messages, "ipAddress". The object in a name may be in any case.
    std::string fullName(const std::string& name) const;
    std::string leafName(const std::string& name) const;

    // The object under which the daemon announces a new start, also when reached through a prefix.
    std::string home() const;

    // Updates the cache from a notification or from the descriptors in an answer of the device;
    // ignores other messages. True when the message announces a new start of the daemon.
    bool handleMessage(const TarnInternalMessage& message, ParameterCache& cache) const;

    // Whether the daemon has answered a request for this object with parameters of its own: it
    // answers also for objects below "system" that do not exist.
    bool isAnsweredByDaemon(const TarnInternalMessage& message) const;

  private:
    bool handleNotification(const TarnInternalMessage& message, ParameterCache& cache) const;
    bool isOfDaemon(const std::string& name) const;
    void handleDescriptors(const TarnInternalMessage& message, ParameterCache& cache) const;

    std::string path_;
};

}  // namespace client
