#pragma once

#include <string>

#include "client/descriptor.h"

// Values as people type them, made into the JSON that travels on the bus. Pure functions.

namespace client {

// What was typed, ready to send, or why it cannot be.
struct ParsedValue {
    util::UniqueJSON value;  // null when there is a problem
    std::string problem;     // empty when there is none
};

// The value that the text means for this parameter: a dotted address, the name of a choice (in any
// case) or its number, a number, a text. A problem also when there is an error from
// validateValue().
ParsedValue parseValue(const Descriptor& descriptor, const std::string& text);

// The same, also for a structure: "member=value, member=value" for some or all of the members that
// its value has.
ParsedValue parseValue(const Parameter& parameter, const std::string& text);

// The value that the text is in JSON. A problem also when there is an error from validateValue().
ParsedValue parseRawValue(const Descriptor& descriptor, const std::string& text);

// For a name that no descriptor is known for: a number, true or false when the text is one as a
// whole, otherwise the text.
util::UniqueJSON parseUntypedValue(const std::string& text);

// Whether a parameter that holds this value would be the same after being set to that one, which
// may leave out members of a structure.
bool isSameValue(const cJSON* held, const cJSON* wanted);

// Takes out of a structure to be set the members that the value held has the same.
void dropSameMembers(const cJSON* held, cJSON* wanted);

// Whether the parameter's value is that one as people see it: the same, or the same in human form.
bool hasValueAsShown(const Parameter& parameter, const cJSON* wanted);

}  // namespace client
