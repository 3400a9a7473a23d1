#pragma once

#include <string>
#include <vector>

#include "pallctl/top/device_state.h"

// Readings outside their usual range, as in the catalogue that pallctl was built with. Pure
// functions.

namespace pallctl::top {

// Whether this reading of the parameter, as it is shown, is outside its usual range.
bool isUnusual(const DeviceState& state, const std::string& leaf, double reading);

// Whether the parameter has a measured value outside its usual range.
bool isAlarming(const DeviceState& state, const std::string& leaf, Moment now);

// All such parameters, in the order of the state.
std::vector<const client::Parameter*> findAlarming(const DeviceState& state, Moment now);

}  // namespace pallctl::top
