#include "pallctl/top/alarms.h"

#include "client/known_parameters.h"

namespace pallctl::top {

const systemstate::Range* findUsualRange(const DeviceState& state, const std::string& leaf) {
    const client::Parameter* const parameter = state.find(leaf);
    const systemstate::Limits* const limits =
        parameter ? client::findLimits(parameter->descriptor.name) : nullptr;
    return limits ? &limits->usual : nullptr;
}

bool isAlarming(const DeviceState& state, const std::string& leaf, Moment now) {
    const Reading value = state.number(leaf);
    const systemstate::Range* const usual = value ? findUsualRange(state, leaf) : nullptr;
    return usual && !usual->contains(*value) && state.isMeasured(leaf, now);
}

std::vector<const client::Parameter*> findAlarming(const DeviceState& state, Moment now) {
    std::vector<const client::Parameter*> parameters = state.all();
    std::erase_if(parameters, [&](const client::Parameter* parameter) {
        return !isAlarming(state, state.leafName(*parameter), now);
    });
    return parameters;
}

}  // namespace pallctl::top
