#pragma once

#include <cstdint>
#include <optional>

class ToskParam;

// The number in a parameter with any kind of value. Any thread.
namespace model {

// The number that the parameter holds; nothing for a null parameter and for a value of another
// kind, which is what a state file may have put there.
std::optional<int64_t> readInteger(const ToskParam* param);

// Whether the parameter holds a number other than 0; nothing when it does not hold a number. A
// switch that a state file brought may hold its number in either kind.
std::optional<bool> isNonZero(const ToskParam& param);

// Puts a number into the parameter without a word to its listener. Other kinds of values stay.
void storeSilently(const ToskParam& param, int64_t number);

}  // namespace model
