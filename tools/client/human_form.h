#pragma once

#include <string>

#include "client/descriptor.h"

// Values as people write them, beside the JSON that travels on the bus. Pure functions.

namespace pallctl {

// The value as a person reads it: an address dotted, a choice by its name, a float with the
// decimals its descriptor asks for, a structure as "member=value, member=value". A value that does
// not fit its descriptor is shown as it came; none at all is "-".
std::string humanForm(const Descriptor& descriptor, const cJSON* value);

// What a person typed, ready to send, or why it cannot be.
struct WireForm {
    UniqueJSON value;     // null when there is a problem
    std::string problem;  // empty when there is none
};

// The value that the text means for this parameter: a dotted address, the name of a choice (in any
// case) or its number, a number, a text.
WireForm wireForm(const Descriptor& descriptor, const std::string& text);

// The same for a name that no descriptor is known for: a number, true or false when the text is
// one as a whole, otherwise the text.
UniqueJSON plainWireForm(const std::string& text);

}  // namespace pallctl
