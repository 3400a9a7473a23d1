#include "live_values.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "bus/misframed.h"
#include "client/client.h"
#include "client/network_plan.h"
#include "client/offers.h"
#include "model/log.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

// Somebody waits at the keyboard.
constexpr std::chrono::milliseconds kPatience = 500ms;

using OfferWords = std::vector<Offer> (*)(const std::vector<const Parameter*>&, const DeviceObject&,
                                          const std::string&);

struct Kind {
    const char* name;
    OfferWords offer;
};
constexpr Kind kKinds[] = {
    {"NAME", offerNames},
    {"NAME=VALUE", offerAssignments},
};

std::string given(const BegunValue& begun, const char* option, const std::string& otherwise) {
    const auto found = begun.options.find(option);
    return found == begun.options.end() ? otherwise : found->second;
}

Reach reachOf(const BegunValue& begun) {
    Reach reach;
    reach.object = given(begun, "--object", reach.object);
    const std::string port = given(begun, "--port", "");
    std::from_chars(port.data(), port.data() + port.size(), reach.port);
    return reach;
}

bool readAll(Client& client) {
    const Deadline giveUp = Clock::now() + kPatience;
    if (!client.connect(giveUp)) {
        return false;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(giveUp - Clock::now());
    return client.device().read(client.catalogue(), left);
}

// What cannot be set is not offered to be set.
void keepSettable(std::vector<const Parameter*>& parameters) {
    const auto readOnly = [](const Parameter* parameter) { return parameter->descriptor.readOnly; };
    parameters.erase(std::remove_if(parameters.begin(), parameters.end(), readOnly),
                     parameters.end());
}

}  // namespace

std::vector<Offer> liveValues(const BegunValue& begun) {
    const auto* kind = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const Kind& each) {
        return begun.kind == each.name && begun.option.empty();
    });
    const auto* const setting =
        std::find_if(kNetworkMembers.begin(), kNetworkMembers.end(),
                     [&](const NetworkMember& each) { return begun.option == each.option; });
    if (kind == std::end(kKinds) && setting == kNetworkMembers.end()) {
        return {};
    }
    replaceLogSink([](int, const std::string&) {});
    lumo::replaceMisframedSink([](std::string_view) {});
    Client client(reachOf(begun), Interest::answers);
    if (!readAll(client)) {
        return {};
    }
    if (setting != kNetworkMembers.end()) {
        return offerValues(client.mirror().find(client.device().fullName(setting->leaf)));
    }
    std::vector<const Parameter*> parameters = client.described();
    if (begun.verb == "set") {
        keepSettable(parameters);
    }
    return kind->offer(parameters, DeviceObject(client.device().object()), begun.word);
}

}  // namespace pallctl
