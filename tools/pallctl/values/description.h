#pragma once

#include <string>
#include <vector>

#include "client/descriptor.h"
#include "pallctl/values/output.h"

namespace pallctl {

// Everything that is known of these parameters, in their order: for people a paragraph each, with a
// line for each thing that the device says; for programs an object with a member per name, and in
// it null for what the device does not say, or with raw its descriptor as it travels; for shells
// NAME_THING='VALUE' lines. Pure function.
std::string describeParameters(const std::vector<const client::Parameter*>& parameters,
                               const Style& style);

}  // namespace pallctl
