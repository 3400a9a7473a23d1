#pragma once

#include <string>
#include <vector>

#include "pallctl/top/device_state.h"
#include "systemstate/limits.h"

// Readings outside their usual range, as in the catalogue that pallctl was built with. Pure
// functions.

namespace pallctl::top {

// The usual range of a parameter of the state. Null without one; constant.
const systemstate::Range* findUsualRange(const DeviceState& state, const std::string& leaf);

// Whether the parameter has a measured value outside its usual range.
bool isAlarming(const DeviceState& state, const std::string& leaf, Moment now);

// All such parameters, in the order of the state.
std::vector<const client::Parameter*> findAlarming(const DeviceState& state, Moment now);

}  // namespace pallctl::top
