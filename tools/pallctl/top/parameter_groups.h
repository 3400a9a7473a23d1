#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pallctl/top/device_state.h"

namespace pallctl::top {

// Parameters under a common heading.
struct Section {
    std::string title;
    std::vector<const client::Parameter*> parameters;  // borrowed from the state, not empty
};

// Everything that the device has described, and what else is known of the catalogue's parameters,
// by groups of what belongs together for a person. A parameter of no group comes last, under
// "Other". With a text, only the parameters that match it.
std::vector<Section> groupParameters(const DeviceState& state, std::string_view text = {});

// Whether name, label or value hold the text, in any case.
bool matches(const DeviceState& state, const client::Parameter& parameter, std::string_view text);

}  // namespace pallctl::top
