#pragma once

#include <string>

#include "client/descriptor.h"

// Formats raw values for people. Pure functions.

namespace client {

// Separates the members of a structure.
inline constexpr const char* kMemberGap = ", ";

// An address is dotted, a choice is its name, a float has the decimals of its descriptor, a
// structure is "member=value, member=value". A value that does not fit its descriptor is shown as
// it is; no value is "-".
std::string formatValue(const Descriptor& descriptor, const cJSON* value);

// The number with the decimals that formatValue() shows of a float. Comparing this one keeps a
// judgement and what people see the same.
double roundAsShown(const Descriptor& descriptor, double number);

// The names of the choices, "Disabled, Enabled".
std::string choiceNames(const Descriptor& descriptor);

}  // namespace client
