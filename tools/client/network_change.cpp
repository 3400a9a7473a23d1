#include "client/network_change.h"

#include <algorithm>
#include <iterator>
#include <thread>
#include <utility>

#include "bus/message_types.h"
#include "client/outcome.h"
#include "model/numbers.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

constexpr auto kRetryPause = 1s;

std::vector<std::string> networkNames(const Device& device) {
    std::vector<std::string> names;
    names.reserve(kNetworkMembers.size());
    for (const NetworkMember& member : kNetworkMembers) {
        names.push_back(device.fullName(member.leaf));
    }
    return names;
}

std::optional<uint32_t> heldValue(const Client& client, const NetworkMember& member) {
    const Parameter* held = client.mirror().find(client.device().fullName(member.leaf));
    return held && cJSON_IsNumber(held->value.get())
               ? std::optional(saturatedUInt32(held->value->valuedouble))
               : std::nullopt;
}

bool isRefusal(ExitStatus status) {
    return status == kRefused || status == kNotFound;
}

}  // namespace

ExitStatus readNetwork(Client& client, NetworkSettings& settings) {
    const ExitStatus status = client.read(networkNames(client.device()));
    if (status != kSuccess) {
        return status;
    }
    for (const NetworkMember& member : kNetworkMembers) {
        const auto value = heldValue(client, member);
        if (!value) {
            complain(client.device().fullName(member.leaf), client.device().isThroughPrefix()
                                                                ? "cannot be read through a prefix"
                                                                : "not found");
            return kNotFound;
        }
        settings.*member.value = *value;
    }
    return kSuccess;
}

NetworkChange::NetworkChange(const Reach& reach, const NetworkSettings& before,
                             const NetworkSettings& wanted, Say say)
    : reach_(reach), before_(before), wanted_(wanted), say_(std::move(say)) {}

ExitStatus NetworkChange::carryOut(const std::function<bool()>& goOn) {
    Client client(reach_, Interest::answers);
    if (!client.connect()) {
        say_("no bus: " + client.session().errorText());
        return kNoBus;
    }
    for (const NetworkMember* member : differences(before_, wanted_)) {
        if (!goOn()) {
            return kOldSettings;
        }
        sent_.push_back(member);
        const ExitStatus status = send(client.device(), *member, wanted_);
        if (isRefusal(status)) {
            sent_.pop_back();
        }
        if (status != kSuccess) {
            return status;
        }
    }
    return kSuccess;
}

ExitStatus NetworkChange::send(Device& device, const NetworkMember& member,
                               const NetworkSettings& settings) {
    const std::string name = device.fullName(member.leaf);
    const auto code = device.set(name, jsonNumber(settings.*member.value));
    if (!code) {
        say_(name + ": no answer");
        return kNoAnswer;
    }
    const ExitStatus status = statusOf(*code);
    if (status != kSuccess) {
        say_(name + ": " + std::to_string(*code) + " " + statusText(*code));
    }
    return status;
}

ExitStatus NetworkChange::takeBack() {
    say_("setting the old values back");
    const Deadline giveUp = Clock::now() + kLongestWait;
    ExitStatus status = tryToTakeBack();
    if (status != kSuccess && !isRefusal(status)) {
        say_("not possible yet; trying again for up to " + std::to_string(kLongestWait.count()) +
             " minutes");
    }
    while (status != kSuccess && !isRefusal(status) && Clock::now() < giveUp) {
        std::this_thread::sleep_for(kRetryPause);
        status = tryToTakeBack();
    }
    if (status == kSuccess) {
        say_("the old values are set again");
        return kOldSettings;
    }
    say_("the old values could NOT be set again; they were " + optionsFor(before_));
    return kInDoubt;
}

ExitStatus NetworkChange::tryToTakeBack() {
    Client client(reach_, Interest::answers);
    // A device that is not there would let a set wait for long.
    if (!client.connect() || !client.device().read(networkNames(client.device()))) {
        return kNoBus;
    }
    for (const NetworkMember* member : sent_) {
        const ExitStatus status = send(client.device(), *member, before_);
        if (status != kSuccess) {
            return status;
        }
    }
    // What was sent over a connection that broke may have come to the device after this.
    return showsOldValues(client) ? kSuccess : kNoAnswer;
}

bool NetworkChange::showsOldValues(Client& client) {
    return client.device().read(networkNames(client.device())) &&
           std::all_of(sent_.begin(), sent_.end(), [&](const NetworkMember* member) {
               return heldValue(client, *member) == before_.*member->value;
           });
}

std::string optionsFor(const NetworkSettings& settings) {
    std::string text;
    for (auto member = kNetworkMembers.rbegin(); member != kNetworkMembers.rend(); ++member) {
        text += text.empty() ? "" : " ";
        text += std::string(member->option) + " " + dottedText(settings.*member->value);
    }
    return text;
}

}  // namespace pallctl
