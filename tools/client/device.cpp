#include "client/device.h"

#include <algorithm>
#include <utility>

#include "bus/messages.h"
#include "client/known_parameters.h"

namespace client {

Device::Device(BusSession& session, ParameterCache& cache, std::string object, Timeouts timeouts)
    : session_(session), cache_(cache), object_(std::move(object)), timeouts_(timeouts) {}

std::string Device::fullName(const std::string& name) const {
    const std::string leaf = leafName(name);
    return object_.fullName(isDaemon() ? findKnownSpelling(leaf) : leaf);
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

// The description of the whole device has kilobytes. Through a prefix there is no other request
// that changes nothing and is answered.
std::string Device::probe() {
    if (isThroughPrefix() || !isDaemon() || !cache_.described(fullName(kFirstNotification))) {
        return ask({});
    }
    GETMessage request(object(), {kFirstNotification}, nullptr, 0);
    session_.queue(request);
    return request.uniqueId();
}

std::optional<std::vector<std::string>> Device::openNames(
    const std::vector<std::string>& names) const {
    if (cache_.isDoubtful()) {
        return names;
    }
    std::vector<std::string> missing = cache_.missing(names);
    return missing.empty() || isThroughPrefix() ? std::nullopt : std::optional(std::move(missing));
}

bool Device::handleMessage(const TarnInternalMessage& message) {
    isForeign_ = isForeign_ || object_.isAnsweredByDaemon(message);
    const bool isGreeting = object_.handleMessage(message, cache_);
    if (isGreeting) {
        hasRestarted_ = restarts_.observeGreeting(message.uniqueId()) || hasRestarted_;
    } else if (message.type() == MessageType::NOT && message.objectName() == object()) {
        restarts_.observe(message.uniqueId());
    }
    return isGreeting;
}

std::string Device::askToSet(const std::string& name, util::UniqueJSON value) {
    util::UniqueJSON param = util::jsonObject();
    util::addMember(param.get(), leafName(name).c_str(), std::move(value));
    SETMessage request(object(), std::move(param));
    session_.queue(request);
    return request.uniqueId();
}

// The deadline also holds for a device that never stops sending notifications.
std::optional<int> Device::set(const std::string& name, util::UniqueJSON value) {
    const Deadline deadline = Clock::now() + timeouts_.set;
    const std::string id = askToSet(name, std::move(value));
    session_.flush();
    while (Clock::now() < deadline) {
        const auto message = session_.receive(deadline);
        if (!message) {
            break;
        }
        handleMessage(*message);
        if (message->type() == MessageType::RSP && message->uniqueId() == id) {
            return message->statusCode();
        }
    }
    return std::nullopt;
}

}  // namespace client
