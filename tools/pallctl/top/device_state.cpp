// A dead supply is published as 0, and so is a supply before its first measurement. The card runs
// while one of its supplies does, so once any voltage is measured, a supply that stays at 0 is
// dead.

#include "pallctl/top/device_state.h"

#include <algorithm>
#include <utility>

#include "client/format_value.h"
#include "client/known_parameters.h"
#include "pallctl/top/display_text.h"

namespace pallctl::top {

using client::Parameter;

namespace {

// The daemon publishes all voltages in the same step of its poll, which it repeats every second.
constexpr std::chrono::seconds kPollPeriod{1};

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
    noteMeasurement(at);
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
    endGraphs(at);
}

void DeviceState::endGraphs(Moment at) {
    for (History& history : histories_) {
        if (history.last()) {
            history.add(at, std::nullopt);
        }
    }
}

void DeviceState::clear() {
    cache_ = client::ParameterCache();
    listen();
    changes_.clear();
    measuredSince_.reset();
    histories_ = {};
}

std::string DeviceState::leafName(const client::Parameter& parameter) const {
    return object_.leafName(parameter.descriptor.name);
}

const client::Parameter* DeviceState::find(const std::string& leaf) const {
    return cache_.find(object_.fullName(leaf));
}

Reading DeviceState::number(const std::string& leaf) const {
    const Parameter* const parameter = find(leaf);
    const bool holdsOne = parameter && cJSON_IsNumber(parameter->value.get());
    return holdsOne ? Reading(parameter->value->valuedouble) : std::nullopt;
}

std::optional<Moment> DeviceState::changedAt(const std::string& name) const {
    const auto found = changes_.find(name);
    return found == changes_.end() ? std::nullopt : std::optional(found->second);
}

bool DeviceState::isMeasured(const std::string& leaf, Moment now) const {
    const auto* const voltage = std::ranges::find(kVoltages, leaf, &Voltage::leaf);
    if (voltage != kVoltages.end()) {
        return isVoltageMeasured(static_cast<std::size_t>(voltage - kVoltages.begin()), now);
    }
    if (std::ranges::find(kPorts, leaf) == kPorts.end() || !areVoltagesInitial()) {
        return true;
    }
    return std::ranges::any_of(kPorts, [&](const char* port) {
        return number(port).value_or(0) != 0 || changedAt(object_.fullName(port));
    });
}

bool DeviceState::isVoltageMeasured(std::size_t voltage, Moment now) const {
    const Voltage& what = kVoltages[voltage];
    const Reading volts = number(what.leaf);
    const bool isEarlier = measuredSince_ && now - *measuredSince_ >= kPollPeriod;
    return volts && *volts >= 0 &&
           (*volts > what.initial || histories_[voltage].last() || isEarlier);
}

// As a daemon publishes them that has not measured any.
bool DeviceState::areVoltagesInitial() const {
    return std::ranges::all_of(
        kVoltages, [&](const Voltage& each) { return number(each.leaf) == each.initial; });
}

bool DeviceState::isAnyVoltageMeasured() const {
    return std::ranges::any_of(kVoltages, [&](const Voltage& each) {
        return number(each.leaf).value_or(each.initial) > each.initial;
    });
}

void DeviceState::noteMeasurement(Moment at) {
    if (areVoltagesInitial()) {
        measuredSince_.reset();
        endGraphs(at);
    } else if (!measuredSince_ && isAnyVoltageMeasured()) {
        measuredSince_ = at;
    }
}

void DeviceState::sample(Moment at) {
    for (std::size_t voltage = 0; voltage < kVoltages.size(); ++voltage) {
        const Reading volts = number(kVoltages[voltage].leaf);
        if (isVoltageMeasured(voltage, at) && histories_[voltage].last() != volts) {
            histories_[voltage].add(at, volts);
        }
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
