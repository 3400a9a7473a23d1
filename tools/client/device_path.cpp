#include "client/device_path.h"

#include <strings.h>

#include <algorithm>

namespace client {

std::string DevicePath::home() const {
    const size_t dot = path_.rfind('.');
    return path_.substr(dot == std::string::npos ? 0 : dot + 1);
}

std::string DevicePath::leafName(const std::string& name) const {
    for (const std::string& prefix : {path_ + '.', home() + '.'}) {
        if (::strncasecmp(name.c_str(), prefix.c_str(), prefix.size()) == 0) {
            return name.substr(prefix.size());
        }
    }
    return name;
}

std::string DevicePath::fullName(const std::string& name) const {
    return path_ + '.' + leafName(name);
}

bool DevicePath::handleMessage(const TarnInternalMessage& message, ParameterCache& cache) const {
    if (message.type() == MessageType::RSP && message.objectName() == path_) {
        handleDescriptors(message, cache);
    }
    return message.type() == MessageType::NOT && handleNotification(message, cache);
}

bool DevicePath::handleNotification(const TarnInternalMessage& message,
                                    ParameterCache& cache) const {
    const cJSON* param = util::jsonMember(message.data(), "param");
    const cJSON* values = message.objectName() == path_ ? param : nullptr;
    const cJSON* value = nullptr;
    cJSON_ArrayForEach(value, values) {
        if (value->string) {
            cache.announce(fullName(value->string), value);
        }
    }
    return (message.objectName() == path_ || message.objectName() == home()) &&
           util::jsonMember(param, kFirstNotification);
}

bool DevicePath::isAnsweredByDaemon(const TarnInternalMessage& message) const {
    if (message.type() != MessageType::RSP || message.objectName() != path_) {
        return false;
    }
    const cJSON* device = util::jsonMember(util::jsonMember(message.data(), "param"), kWholeDevice);
    return std::ranges::any_of(
        decodeParameters(util::jsonMember(device, "params")),
        [this](const Parameter& parameter) { return isOfDaemon(parameter.descriptor.name); });
}

// A parameter of the daemon in the answer of another device.
bool DevicePath::isOfDaemon(const std::string& name) const {
    return home() != kDaemonObject && name.starts_with(std::string(kDaemonObject) + '.');
}

void DevicePath::handleDescriptors(const TarnInternalMessage& message,
                                   ParameterCache& cache) const {
    const cJSON* named = util::jsonMember(message.data(), "paramDescriptor");
    const cJSON* device = util::jsonMember(util::jsonMember(message.data(), "param"), kWholeDevice);
    for (const cJSON* parameters : {named, util::jsonMember(device, "params")}) {
        for (Parameter& parameter : decodeParameters(parameters)) {
            if (isOfDaemon(parameter.descriptor.name)) {
                continue;
            }
            parameter.descriptor.name = fullName(parameter.descriptor.name);
            cache.describe(std::move(parameter));
        }
    }
}

}  // namespace client
