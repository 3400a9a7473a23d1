#pragma once

#include <optional>
#include <string>

#include "client/parse_value.h"

// Conditions on the value of a parameter, as people type them. Pure functions.

namespace pallctl {

enum class Comparison { equal, notEqual, less, lessOrEqual, greater, greaterOrEqual };

// "NAME=VALUE" or with "!=", "<", "<=", ">", ">=".
struct Condition {
    std::string name;
    Comparison comparison;
    std::string value;  // may contain anything, also more operators
};

// Empty for a text of another form.
std::optional<Condition> parseCondition(const std::string& text);

// The raw value to compare with, or the error: an order needs numbers on both sides.
client::ParsedValue parseWanted(const client::Parameter& parameter, const Condition& condition,
                                bool raw);

// Whether the parameter meets the condition as people see it: 5 equals 5.0, a number is compared
// with its decimals. A parameter without a value meets none.
bool isMet(const client::Parameter& parameter, Comparison comparison, const cJSON* wanted);

}  // namespace pallctl
