#include "client/device.h"

#include <algorithm>

#include "bus/messages.h"

namespace client {

namespace {

bool isAnswer(const TarnInternalMessage& message, const std::string& id) {
    return message.type() == MessageType::RSP && message.uniqueId() == id;
}

}  // namespace

Device::Device(BusSession& session, ParameterCache& cache, std::string object, Timeouts patience)
    : session_(session), cache_(cache), object_(std::move(object)), timeouts_(patience) {}

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
            leaves.push_back(leafName(names[name]));
        }
        GETMessage request(object(), leaves, nullptr, 1);
        session_.queue(request);
    }
}

std::string Device::ask(const std::vector<std::string>& names) {
    if (!isThroughPrefix()) {
        askByName(names);
    }
    // A request of unknown names only gets no answer. This one always does, and the device answers
    // in the order in which it was asked.
    GETMessage last(object(), {kWholeDevice}, nullptr, 0);
    session_.queue(last);
    return last.uniqueId();
}

bool Device::read(const std::vector<std::string>& names, std::chrono::milliseconds patience) {
    const Deadline deadline = Clock::now() + patience;
    if (!readOnce(names, deadline)) {
        return false;
    }
    const auto open = openNames(names);
    return !open || readOnce(*open, deadline);
}

std::optional<std::vector<std::string>> Device::openNames(
    const std::vector<std::string>& names) const {
    if (cache_.isDoubtful()) {
        return names;
    }
    std::vector<std::string> missing = cache_.missing(names);
    return missing.empty() || isThroughPrefix() ? std::nullopt : std::optional(std::move(missing));
}

bool Device::readOnce(const std::vector<std::string>& names, Deadline deadline) {
    std::string id = beginReading(names);
    while (const auto message = receive(deadline)) {
        handleMessage(*message);
        if (isAnswer(*message, id)) {
            cache_.endReading();
            return true;
        }
        if (takeRestart()) {
            // It has not heard the question.
            id = beginReading(names);
        }
    }
    return false;
}

std::string Device::beginReading(const std::vector<std::string>& names) {
    cache_.beginReading();
    std::string id = ask(names);
    session_.flush();
    return id;
}

std::string Device::askToSet(const std::string& name, util::UniqueJSON value) {
    util::UniqueJSON param = util::jsonObject();
    util::addMember(param.get(), leafName(name).c_str(), std::move(value));
    SETMessage request(object(), std::move(param));
    session_.queue(request);
    return request.uniqueId();
}

std::optional<int> Device::set(const std::string& name, util::UniqueJSON value) {
    const Deadline deadline = Clock::now() + timeouts_.set;
    const auto answer = awaitAnswer(askToSet(name, std::move(value)), deadline);
    return answer ? std::optional(answer->statusCode()) : std::nullopt;
}

void Device::handleMessage(const TarnInternalMessage& message) {
    restarted_ = object_.handleMessage(message, cache_) || restarted_;
    object_.handleDescriptors(message, cache_);
}

std::optional<TarnInternalMessage> Device::awaitAnswer(const std::string& id, Deadline deadline) {
    session_.flush();
    while (auto message = receive(deadline)) {
        handleMessage(*message);
        if (isAnswer(*message, id)) {
            return message;
        }
    }
    return std::nullopt;
}

// A device that never stops announcing does not make anybody wait for longer.
std::optional<TarnInternalMessage> Device::receive(Deadline deadline) {
    return Clock::now() < deadline ? session_.receive(deadline) : std::nullopt;
}

}  // namespace client
