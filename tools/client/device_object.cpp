#include "client/device_object.h"

namespace pallctl {

std::string DeviceObject::home() const {
    const size_t dot = path_.rfind('.');
    return path_.substr(dot == std::string::npos ? 0 : dot + 1);
}

std::string DeviceObject::leafOf(const std::string& name) const {
    for (const std::string& prefix : {path_ + '.', home() + '.'}) {
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
    if (message.type() != MessageType::NOT) {
        return false;
    }
    const cJSON* param = jsonMember(message.data(), "param");
    const cJSON* values = message.objectName() == path_ ? param : nullptr;
    const cJSON* value = nullptr;
    cJSON_ArrayForEach(value, values) {
        if (value->string) {
            mirror.announce(fullName(value->string), value);
        }
    }
    return (message.objectName() == path_ || message.objectName() == home()) &&
           jsonMember(param, kGreeting);
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
