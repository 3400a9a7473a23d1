#include "pallctl/top/device_state.h"

#include <utility>

#include "client/format_value.h"
#include "client/known_parameters.h"
#include "pallctl/top/display_text.h"

namespace pallctl::top {

using client::Parameter;

namespace {

// By the last part of the name.
const std::map<std::string, client::Descriptor>& catalogue() {
    static const auto rows = [] {
        const client::DevicePath object(client::kDaemonObject);
        std::map<std::string, client::Descriptor> all;
        for (client::Descriptor& descriptor : client::knownDescriptors()) {
            const std::string leaf = object.leafName(descriptor.name);
            all.emplace(leaf, std::move(descriptor));
        }
        return all;
    }();
    return rows;
}

}  // namespace

DeviceState::DeviceState(const std::string& object) : object_(object) {
    listen();
}

void DeviceState::listen() {
    cache_.setOnChange(
        [this](const client::Parameter& parameter) { changes_[parameter.descriptor.name] = now_; });
}

bool DeviceState::take(const TarnInternalMessage& message, Moment at) {
    now_ = at;
    const bool restarted = object_.handleMessage(message, cache_);
    describeFromCatalogue();
    sample(at);
    return restarted;
}

// Parameters known only from notifications: a recording may contain no request for them, and
// through a prefix no client can request them.
void DeviceState::describeFromCatalogue() {
    if (object_.home() != client::kDaemonObject) {
        return;
    }
    for (const client::Parameter* announced : cache_.all()) {
        const auto known = catalogue().find(leafName(*announced));
        if (announced->descriptor.type.empty() && known != catalogue().end()) {
            client::Descriptor descriptor = known->second;
            descriptor.name = announced->descriptor.name;
            cache_.describe({std::move(descriptor), util::copyJSON(announced->value.get())});
        }
    }
}

void DeviceState::markDisconnected(Moment at) {
    for (History& history : histories_) {
        history.add(at, std::nullopt);
    }
}

void DeviceState::clear() {
    cache_ = client::ParameterCache();
    listen();
    changes_.clear();
    histories_ = {};
}

std::string DeviceState::leafName(const client::Parameter& parameter) const {
    return object_.leafName(parameter.descriptor.name);
}

const client::Parameter* DeviceState::find(const std::string& leaf) const {
    return cache_.find(object_.fullName(leaf));
}

std::optional<Moment> DeviceState::changedAt(const std::string& name) const {
    const auto found = changes_.find(name);
    return found == changes_.end() ? std::nullopt : std::optional(found->second);
}

void DeviceState::sample(Moment at) {
    for (std::size_t voltage = 0; voltage < kVoltages.size(); ++voltage) {
        const client::Parameter* const parameter = find(kVoltages[voltage].leaf);
        if (parameter && cJSON_IsNumber(parameter->value.get())) {
            sample(histories_[voltage], parameter->value->valuedouble, at);
        }
    }
}

void DeviceState::sample(History& history, double volts, Moment at) {
    // Until it has been measured, a voltage is published as 0 or, the battery's, as less.
    const bool isMeasured = volts > 0 || (volts == 0 && history.last());
    if (isMeasured && history.last() != volts) {
        history.add(at, volts);
    }
}

std::string displayValue(const client::Parameter* parameter) {
    return parameter ? showable(client::formatValue(parameter->descriptor, parameter->value.get()))
                     : "-";
}

bool isHighlighted(const std::optional<Moment>& change, Moment now) {
    return change && now - *change < kHighlightTime;
}

}  // namespace pallctl::top
