#pragma once

#include <string>

#include "client/descriptor.h"

namespace client {

// What speaks against sending this value, in its wire form, to a parameter that is described so:
// its type, a choice that there is not, a range, a length. Empty when nothing does; a parameter
// without a type takes anything. The daemon itself looks at less than that: a text for a number it
// takes for 0. Pure function.
std::string validateValue(const Descriptor& descriptor, const cJSON* value);

}  // namespace client
