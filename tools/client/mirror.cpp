#include "client/mirror.h"

#include <utility>

#include "client/human_form.h"

namespace pallctl {

void Mirror::describe(Parameter parameter) {
    const std::string name = parameter.descriptor.name;
    const bool isNew = !find(name);
    Parameter& held = known(name);
    const std::string before = humanForm(parameter.descriptor, held.value.get());
    held = std::move(parameter);
    if (!isNew && humanForm(held.descriptor, held.value.get()) != before) {
        tell(held);
    }
}

void Mirror::announce(const std::string& name, const cJSON* value) {
    Parameter& held = known(name);
    const std::string before = humanForm(held.descriptor, held.value.get());
    held.value = copyJSON(value);
    if (humanForm(held.descriptor, held.value.get()) != before) {
        tell(held);
    }
}

const Parameter* Mirror::find(const std::string& name) const {
    const auto found = parameters_.find(name);
    return found == parameters_.end() ? nullptr : &found->second;
}

const Parameter* Mirror::described(const std::string& name) const {
    const Parameter* parameter = find(name);
    return parameter && !parameter->descriptor.type.empty() ? parameter : nullptr;
}

std::vector<const Parameter*> Mirror::all() const {
    return order_;
}

Parameter& Mirror::known(const std::string& name) {
    const auto [held, isNew] = parameters_.try_emplace(name);
    if (isNew) {
        held->second.descriptor.name = name;
        order_.push_back(&held->second);
    }
    return held->second;
}

void Mirror::tell(const Parameter& parameter) const {
    if (onChange_) {
        onChange_(parameter);
    }
}

}  // namespace pallctl
