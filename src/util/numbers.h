#pragma once

#include <cstdint>
#include <string>

namespace util {

// From texts and doubles to numbers of a fixed size, the same on every machine.

// The integer part of a double, as near as the type allows: beyond its ends the end, 0 for NaN.
int64_t saturatedInt64(double value);
int32_t saturatedInt32(double value);
uint32_t saturatedUInt32(double value);

// The nearest integer, a half away from zero, with the same ends.
int64_t roundedInt64(double value);

// The number at the start of a text, after white space and a sign, in the given base (as strtol
// and strtoul read it: 0 for the C prefixes). Characters after the number are accepted. False
// when there is no number, and when it is out of the 32-bit range. `out` gets the converted number
// in every case: the nearer end of the range for one beyond it (the unsigned range has one end for
// that, the upper), 0 for none. A number with a minus sign wraps around in the unsigned reader.
bool parseLong(const std::string& text, int32_t& out, int base = 10);
bool parseULong(const std::string& text, uint32_t& out, int base = 10);

// The same for a float, as strtof reads it. A number above the range yields false with infinity,
// one too small to tell from zero yields false with 0; one below the range yields true with
// negative infinity.
bool parseFloat(const std::string& text, float& out);

}  // namespace util
