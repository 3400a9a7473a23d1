#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pallctl/top/device_state.h"

namespace pallctl::top {

// Parameters with a common heading.
struct Section {
    std::string title;
    std::vector<const client::Parameter*> parameters;  // borrowed from the state, not empty
};

// All parameters that the device has described, and the known ones of the catalogue, in groups;
// "Other" comes last. With a text, only the parameters that match it.
std::vector<Section> groupParameters(const DeviceState& state, std::string_view text = {});

// Whether name, label or value contain the text, in any case.
bool matches(const DeviceState& state, const client::Parameter& parameter, std::string_view text);

}  // namespace pallctl::top
