#pragma once

#include <string>
#include <vector>

#include "client/descriptor.h"
#include "pallctl/values/output.h"

namespace pallctl {

// All facts about these parameters, in their order: for people a paragraph each, whose lines are
// cut to the style's columns; for programs an
// object with a member for each parameter, with null for what the device does not state, or with
// `raw` its descriptor as received; for shells NAME_FACT='VALUE' lines. Pure function.
std::string describeParameters(const std::vector<const client::Parameter*>& parameters,
                               const Style& style);

}  // namespace pallctl
