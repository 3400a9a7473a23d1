#pragma once

#include <string>
#include <vector>

#include "bus/tarn_internal_message.h"
#include "client/mirror.h"

namespace pallctl {

// The object that the daemon serves.
inline constexpr const char* kDaemonObject = "system";

// What the daemon announces first on each of its connections.
inline constexpr const char* kGreeting = "frameName";

// The name of the descriptor of the whole device among the values.
inline constexpr const char* kWholeDevice = "paramDescriptor";

// The object of a device on the bus: "system", or "frameB.system" for a daemon that is reached
// through a prefix. What its parameters are called, and what messages say of them. Plain data.
class DeviceObject {
  public:
    explicit DeviceObject(std::string path) : path_(std::move(path)) {}

    const std::string& path() const { return path_; }
    bool isThroughPrefix() const { return path_.find('.') != std::string::npos; }

    // "system.ipAddress" of any form of a name, the object's own ("frameB.system.ipAddress" there);
    // what a message calls it ("ipAddress").
    std::string fullName(const std::string& name) const;
    std::string leafOf(const std::string& name) const;

    // The object under which the daemon announces that it is new on the bus, whatever way leads
    // to it.
    std::string home() const;

    // Takes over what an announcement of the device says. True when it says that the daemon is new
    // on the bus; other messages are passed over.
    bool hear(const TarnInternalMessage& message, Mirror& mirror) const;
    // Takes over the descriptors that an answer of the device holds; other messages are passed
    // over.
    void takeDescriptors(const TarnInternalMessage& message, Mirror& mirror) const;

  private:
    std::string path_;
};

}  // namespace pallctl
