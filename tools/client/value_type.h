#pragma once

#include <string>

#include "util/json.h"

// The types that a parameter can be set to values of. Pure functions, any thread.

namespace client {

struct ValueType {
    const char* word;  // of a descriptor, "INT32"
    bool (*fits)(const cJSON* value);
    const char* need;  // what fits, for people
    util::UniqueJSON (*typed)(
        const std::string& text);  // null: has members, each of a type of its own
};

// Null for a type whose values nobody can set.
const ValueType* valueType(const std::string& word);

// A number as it was typed, a text when it is none.
util::UniqueJSON typedNumber(const std::string& text);

}  // namespace client
