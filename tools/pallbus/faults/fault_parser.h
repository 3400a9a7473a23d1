#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "pallbus/faults/fault_rule.h"

// The language of faults: "drop 10% to daemon object system for 5s", described in
// doc/bus-simulator.md. All calls are pure, and safe for any text.

namespace pallbus::faults {

// The reason why a fault cannot be parsed, in one line that does not repeat the fault.
struct FaultSyntaxError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Throws FaultSyntaxError.
FaultRule parseFault(std::span<const std::string> words);

// The keywords that can follow `words`: the kinds after none, "from" or "every" after "drop". Empty
// where the user has to supply a name, a time or a number, and after words that do not parse.
std::vector<std::string> nextKeywords(std::span<const std::string> words);

}  // namespace pallbus::faults
