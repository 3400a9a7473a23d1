#include "client/device_object.h"

namespace pallctl {

namespace {

// What stands before a parameter's name inside the daemon, whatever way leads there.
std::string localPrefix(const std::string& path) {
    const size_t dot = path.rfind('.');
    return path.substr(dot == std::string::npos ? 0 : dot + 1) + '.';
}

}  // namespace

std::string DeviceObject::leafOf(const std::string& name) const {
    for (const std::string& prefix : {path_ + '.', localPrefix(path_)}) {
        if (name.starts_with(prefix)) {
            return name.substr(prefix.size());
        }
    }
    return name;
}

std::string DeviceObject::fullName(const std::string& name) const {
    return path_ + '.' + leafOf(name);
}

bool DeviceObject::hear(const TarnInternalMessage& message, Mirror& mirror) const {
    bool arrived = false;
    if (message.type() != MessageType::NOT || message.objectName() != path_) {
        return arrived;
    }
    const cJSON* value = nullptr;
    cJSON_ArrayForEach(value, jsonMember(message.data(), "param")) {
        if (value->string) {
            arrived = arrived || value->string == std::string_view(kGreeting);
            mirror.announce(fullName(value->string), value);
        }
    }
    return arrived;
}

void DeviceObject::takeDescriptors(const TarnInternalMessage& message, Mirror& mirror) const {
    if (message.type() != MessageType::RSP || message.objectName() != path_) {
        return;
    }
    const cJSON* named = jsonMember(message.data(), "paramDescriptor");
    const cJSON* device = jsonMember(jsonMember(message.data(), "param"), kWholeDevice);
    for (const cJSON* parameters : {named, jsonMember(device, "params")}) {
        for (Parameter& parameter : decodeParameters(parameters)) {
            parameter.descriptor.name = fullName(parameter.descriptor.name);
            mirror.describe(std::move(parameter));
        }
    }
}

}  // namespace pallctl
