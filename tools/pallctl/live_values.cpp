#include "live_values.h"

#include <algorithm>
#include <charconv>
#include <chrono>

#include "bus/misframed.h"
#include "client/client.h"
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

// Options that take the value of one parameter.
struct Setting {
    const char* option;
    const char* name;
};
constexpr Setting kSettings[] = {
    {"--address", "ipAddress"},
    {"--netmask", "netmask"},
    {"--gateway", "gateway"},
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
    const auto* setting =
        std::find_if(std::begin(kSettings), std::end(kSettings),
                     [&](const Setting& each) { return begun.option == each.option; });
    if (kind == std::end(kKinds) && setting == std::end(kSettings)) {
        return {};
    }
    replaceLogSink([](int, const std::string&) {});
    lumo::replaceMisframedSink([](std::string_view) {});
    Client client(reachOf(begun), Interest::answers);
    if (!client.connect() || !client.device().read(client.catalogue(), kPatience)) {
        return {};
    }
    if (setting != std::end(kSettings)) {
        return offerValues(client.mirror().find(client.device().fullName(setting->name)));
    }
    std::vector<const Parameter*> parameters = client.described();
    if (begun.verb == "set") {
        keepSettable(parameters);
    }
    return kind->offer(parameters, DeviceObject(client.device().object()), begun.word);
}

}  // namespace pallctl
