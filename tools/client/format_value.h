#pragma once

#include <string>

#include "client/descriptor.h"

// Values as people read them, of the JSON that travels on the bus. Pure functions.

namespace client {

// The value as a person reads it: an address dotted, a choice by its name, a float with the
// decimals its descriptor asks for, a structure as "member=value, member=value". A value that does
// not fit its descriptor is shown as it came; none at all is "-".
std::string formatValue(const Descriptor& descriptor, const cJSON* value);

// The names of its choices, "Disabled, Enabled".
std::string choiceNames(const Descriptor& descriptor);

}  // namespace client
