#pragma once

#include <cstdint>
#include <string>

namespace util {

// Reads a text that is an integer from its first to its last character, in decimal, or in
// hexadecimal after 0x, or in octal after 0. False, and `value` unchanged, for anything else and
// for a number that does not fit.
bool parseWholeInteger(const std::string& text, int32_t& value);

}  // namespace util
