#include "client/device.h"

#include <algorithm>

#include "bus/messages.h"

namespace pallctl {

namespace {

constexpr const char* kWholeDevice = "paramDescriptor";
// What the daemon announces first on each of its connections.
constexpr std::string_view kGreeting = "frameName";

// What stands before a parameter's name inside the daemon, whatever way leads there.
std::string localPrefix(const std::string& object) {
    const size_t dot = object.rfind('.');
    return object.substr(dot == std::string::npos ? 0 : dot + 1) + '.';
}

}  // namespace

Device::Device(BusSession& session, Mirror& mirror, std::string object, Patience patience)
    : session_(session), mirror_(mirror), object_(std::move(object)), patience_(patience) {}

std::string Device::leafOf(const std::string& name) const {
    for (const std::string& prefix : {object_ + '.', localPrefix(object_)}) {
        if (name.starts_with(prefix)) {
            return name.substr(prefix.size());
        }
    }
    return name;
}

std::string Device::fullName(const std::string& name) const {
    return object_ + '.' + leafOf(name);
}

std::vector<std::string> Device::fullNames(std::vector<std::string> names) const {
    std::transform(names.begin(), names.end(), names.begin(),
                   [this](const std::string& name) { return fullName(name); });
    return names;
}

void Device::askByName(const std::vector<std::string>& names) {
    for (size_t at = 0; at < names.size(); at += kNamesPerRequest) {
        const size_t end = std::min(names.size(), at + kNamesPerRequest);
        std::vector<std::string> leaves;
        for (size_t name = at; name < end; ++name) {
            leaves.push_back(leafOf(names[name]));
        }
        GETMessage request(object_, leaves, nullptr, 1);
        session_.queue(request);
    }
}

bool Device::read(const std::vector<std::string>& names, std::chrono::milliseconds patience) {
    const Deadline deadline = Clock::now() + patience;
    if (!isThroughPrefix()) {
        askByName(names);
    }
    // A request of unknown names only gets no answer. This one always does, and the device answers
    // in the order in which it was asked.
    GETMessage last(object_, {kWholeDevice}, nullptr, 0);
    session_.queue(last);
    return awaitAnswer(last.uniqueId(), deadline).has_value();
}

std::optional<int> Device::set(const std::string& name, UniqueJSON value) {
    UniqueJSON param = jsonObject();
    addMember(param.get(), leafOf(name).c_str(), std::move(value));
    SETMessage request(object_, std::move(param));
    session_.queue(request);
    const auto answer = awaitAnswer(request.uniqueId(), Clock::now() + patience_.set);
    return answer ? std::optional(answer->statusCode()) : std::nullopt;
}

void Device::hear(const TarnInternalMessage& message) {
    if (message.type() != MessageType::NOT || message.objectName() != object_) {
        return;
    }
    const cJSON* value = nullptr;
    cJSON_ArrayForEach(value, jsonMember(message.data(), "param")) {
        if (value->string) {
            arrived_ = arrived_ || value->string == kGreeting;
            mirror_.announce(fullName(value->string), value);
        }
    }
}

std::optional<TarnInternalMessage> Device::awaitAnswer(const std::string& id, Deadline deadline) {
    session_.flush();
    while (auto message = session_.receive(deadline)) {
        if (message->type() != MessageType::RSP) {
            hear(*message);
            continue;
        }
        takeDescriptors(*message);
        if (message->uniqueId() == id) {
            return message;
        }
    }
    return std::nullopt;
}

void Device::takeDescriptors(const TarnInternalMessage& answer) {
    const cJSON* named = jsonMember(answer.data(), "paramDescriptor");
    const cJSON* device = jsonMember(jsonMember(answer.data(), "param"), kWholeDevice);
    for (const cJSON* parameters : {named, jsonMember(device, "params")}) {
        for (Parameter& parameter : decodeParameters(parameters)) {
            parameter.descriptor.name = fullName(parameter.descriptor.name);
            mirror_.describe(std::move(parameter));
        }
    }
}

}  // namespace pallctl
