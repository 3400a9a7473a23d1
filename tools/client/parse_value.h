#pragma once

#include <string>

#include "client/descriptor.h"

// Parses values as people type them into raw values. Pure functions.

namespace client {

// A value to send, or the error.
struct ParsedValue {
    util::UniqueJSON value;  // null on error
    std::string problem;     // empty on success
};

// The value for this parameter: a dotted address, the name of a choice (in any case) or its number,
// on, off, true or false for a switch (Disabled, Enabled or false, true), a number, a text. An
// error of validateValue() is a problem, too.
ParsedValue parseValue(const Descriptor& descriptor, const std::string& text);

// The same, also for a structure: "member=value, member=value" for some or all of the members of
// its value.
ParsedValue parseValue(const Parameter& parameter, const std::string& text);

// A value in JSON. An error of validateValue() is a problem, too.
ParsedValue parseRawValue(const Descriptor& descriptor, const std::string& text);

// For a parameter without a descriptor: a number, true or false when the whole text is one,
// otherwise the text.
util::UniqueJSON parseUntypedValue(const std::string& text);

// Whether a parameter with this value would be the same after being set to `wanted`, which may
// contain only some members of a structure.
bool isSameValue(const cJSON* held, const cJSON* wanted);

// Removes the members from a structure to be set that are the same in the value held.
void dropSameMembers(const cJSON* held, cJSON* wanted);

// Whether the parameter has that value as people see it: the same raw value, or the same text.
bool hasValueAsShown(const Parameter& parameter, const cJSON* wanted);

}  // namespace client
