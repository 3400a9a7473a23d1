#pragma once

#include <string>

#include "client/descriptor.h"

// The types of values that can be set, and the validation of values. Pure functions, any thread.

namespace client {

struct ValueType {
    const char* word;  // in a descriptor, "INT32"
    bool (*fits)(const cJSON* value);
    const char* valid;                                   // the valid values, for people
    util::UniqueJSON (*parse)(const std::string& text);  // null: has members
};

// Null for a type that cannot be set.
const ValueType* findValueType(const std::string& word);

// A number, or a text when it is not one.
util::UniqueJSON parseNumberOrText(const std::string& text);

// The error in this raw value for a parameter with this descriptor: its type, its choices, its
// range, its length. Empty for a valid value; a parameter without a type accepts everything. The
// daemon itself checks less: it takes a text for a number as 0.
std::string validateValue(const Descriptor& descriptor, const cJSON* value);

}  // namespace client
