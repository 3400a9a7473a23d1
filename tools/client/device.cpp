#include "client/device.h"

#include <algorithm>

#include "bus/messages.h"

namespace pallctl {

namespace {

constexpr const char* kWholeDevice = "paramDescriptor";
// What the daemon announces first on each of its connections.
constexpr std::string_view kGreeting = "frameName";

std::string prefix() {
    return std::string(kDeviceObject) + '.';
}

}  // namespace

std::string leafOf(const std::string& name) {
    return name.starts_with(prefix()) ? name.substr(prefix().size()) : name;
}

std::string fullName(const std::string& name) {
    return prefix() + leafOf(name);
}

Device::Device(BusSession& session, Mirror& mirror, Patience patience)
    : session_(session), mirror_(mirror), patience_(patience) {}

bool Device::read(const std::vector<std::string>& names, std::chrono::milliseconds patience) {
    const Deadline deadline = Clock::now() + patience;
    for (size_t at = 0; at < names.size(); at += kNamesPerRequest) {
        const size_t end = std::min(names.size(), at + kNamesPerRequest);
        std::vector<std::string> leaves;
        for (size_t name = at; name < end; ++name) {
            leaves.push_back(leafOf(names[name]));
        }
        GETMessage request(kDeviceObject, leaves, nullptr, 1);
        session_.queue(request);
    }
    // A request of unknown names only gets no answer. This one always does, and the device answers
    // in the order in which it was asked.
    GETMessage last(kDeviceObject, {kWholeDevice}, nullptr, 0);
    session_.queue(last);
    return awaitAnswer(last.uniqueId(), deadline).has_value();
}

std::optional<int> Device::set(const std::string& name, UniqueJSON value) {
    UniqueJSON param = jsonObject();
    addMember(param.get(), leafOf(name).c_str(), std::move(value));
    SETMessage request(kDeviceObject, std::move(param));
    session_.queue(request);
    const auto answer = awaitAnswer(request.uniqueId(), Clock::now() + patience_.set);
    return answer ? std::optional(answer->statusCode()) : std::nullopt;
}

void Device::hear(const TarnInternalMessage& message) {
    if (message.type() != MessageType::NOT || message.objectName() != kDeviceObject) {
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
            mirror_.describe(std::move(parameter));
        }
    }
}

}  // namespace pallctl
