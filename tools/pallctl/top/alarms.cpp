#include "pallctl/top/alarms.h"

#include "client/format_value.h"
#include "client/known_parameters.h"

namespace pallctl::top {

bool isUnusual(const DeviceState& state, const std::string& leaf, double reading) {
    const client::Parameter* const parameter = state.find(leaf);
    const systemstate::Limits* const limits =
        parameter ? client::findLimits(parameter->descriptor.name) : nullptr;
    return limits && !limits->usual.contains(client::roundAsShown(parameter->descriptor, reading));
}

bool isAlarming(const DeviceState& state, const std::string& leaf, Moment now) {
    const Reading value = state.number(leaf);
    return value && isUnusual(state, leaf, *value) && state.isMeasured(leaf, now);
}

std::vector<const client::Parameter*> findAlarming(const DeviceState& state, Moment now) {
    std::vector<const client::Parameter*> parameters = state.all();
    std::erase_if(parameters, [&](const client::Parameter* parameter) {
        return !isAlarming(state, state.leafName(*parameter), now);
    });
    return parameters;
}

}  // namespace pallctl::top
