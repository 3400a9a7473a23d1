#pragma once

#include <string>

// Patterns of names, as a shell has them: "psu*", "ethPort?Status", "[ps]*". Pure functions.

namespace client {

bool isPattern(const std::string& name);

// Whether the pattern is for that name, in any case of letters. Both are full names.
bool matchesPattern(const std::string& pattern, const std::string& name);

}  // namespace client
