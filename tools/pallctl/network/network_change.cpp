// Settings are sent one after the other and remembered in sent_. A rollback sends the previous
// values of those on a new connection, reads them back, and is retried until they are in force.

#include "pallctl/network/network_change.h"

#include <algorithm>
#include <iterator>
#include <thread>
#include <utility>

#include "bus/message_types.h"
#include "util/numbers.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

constexpr auto kRetryPause = 1s;

std::vector<std::string> networkNames(const client::Device& device) {
    std::vector<std::string> names;
    names.reserve(kNetworkMembers.size());
    for (const NetworkMember& member : kNetworkMembers) {
        names.push_back(device.fullName(member.leaf));
    }
    return names;
}

std::optional<uint32_t> findValue(const client::Client& client, const NetworkMember& member) {
    const client::Parameter* held = client.cache().find(client.device().fullName(member.leaf));
    return held && cJSON_IsNumber(held->value.get())
               ? std::optional(util::saturatedUInt32(held->value->valuedouble))
               : std::nullopt;
}

bool isRefusal(ExitStatus status) {
    return status == kRefused || status == kNotFound;
}

}  // namespace

ExitStatus readNetwork(client::Client& client, systemstate::NetworkSettings& settings) {
    const ExitStatus status = client.read(networkNames(client.device()));
    if (status != kSuccess) {
        return status;
    }
    for (const NetworkMember& member : kNetworkMembers) {
        const auto value = findValue(client, member);
        if (!value) {
            client::complain(client.device().fullName(member.leaf),
                             client.device().isThroughPrefix() ? "cannot be read through a prefix"
                                                               : "not found");
            return kNotFound;
        }
        settings.*member.value = *value;
    }
    return kSuccess;
}

NetworkChange::NetworkChange(const client::ConnectionOptions& connection,
                             const systemstate::NetworkSettings& before,
                             const systemstate::NetworkSettings& wanted, Say say)
    : connection_(connection), before_(before), wanted_(wanted), say_(std::move(say)) {}

ExitStatus NetworkChange::apply(const std::function<bool()>& goOn) {
    client::Client client(connection_, client::Subscription::answers);
    if (!client.follower().connect()) {
        say_("no bus: " + client.session().errorText());
        return kNoBus;
    }
    for (const NetworkMember* member : findDifferences(before_, wanted_)) {
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

ExitStatus NetworkChange::send(client::Device& device, const NetworkMember& member,
                               const systemstate::NetworkSettings& settings) {
    const std::string name = device.fullName(member.leaf);
    const auto code = device.set(name, util::jsonNumber(settings.*member.value));
    if (!code) {
        say_(name + ": no answer");
        return kNoAnswer;
    }
    const ExitStatus status = client::exitStatusFor(*code);
    if (status != kSuccess) {
        say_(name + ": " + std::to_string(*code) + " " + statusText(*code));
    }
    return status;
}

ExitStatus NetworkChange::rollBack() {
    say_("restoring the previous settings");
    const client::Deadline giveUp = client::Clock::now() + kMaxRetryTime;
    ExitStatus status = tryRollBack();
    if (status != kSuccess && !isRefusal(status)) {
        say_("not possible yet; retrying for up to " + std::to_string(kMaxRetryTime.count()) +
             " minutes");
    }
    while (status != kSuccess && !isRefusal(status) && client::Clock::now() < giveUp) {
        std::this_thread::sleep_for(kRetryPause);
        status = tryRollBack();
    }
    if (status == kSuccess) {
        say_("previous settings restored");
        return kOldSettings;
    }
    say_("rollback FAILED; previous settings were " + formatOptions(before_));
    return kInDoubt;
}

ExitStatus NetworkChange::tryRollBack() {
    client::Client client(connection_, client::Subscription::answers);
    // Without a device a set would wait for its whole timeout.
    if (!client.follower().connect() || !client.follower().read(networkNames(client.device()))) {
        return kNoBus;
    }
    for (const NetworkMember* member : sent_) {
        const ExitStatus status = send(client.device(), *member, before_);
        if (status != kSuccess) {
            return status;
        }
    }
    // A set on a connection that broke may reach the device after this one.
    return hasOldValues(client) ? kSuccess : kNoAnswer;
}

bool NetworkChange::hasOldValues(client::Client& client) {
    return client.follower().read(networkNames(client.device())) &&
           std::all_of(sent_.begin(), sent_.end(), [&](const NetworkMember* member) {
               return findValue(client, *member) == before_.*member->value;
           });
}

std::string formatOptions(const systemstate::NetworkSettings& settings) {
    std::string text;
    for (auto member = kNetworkMembers.rbegin(); member != kNetworkMembers.rend(); ++member) {
        text += text.empty() ? "" : " ";
        text +=
            std::string(member->option) + " " + systemstate::dottedText(settings.*member->value);
    }
    return text;
}

}  // namespace pallctl
