#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <string>

namespace cli {

// Validates the value of an option: returns the error, or "".
using Validator = std::function<std::string(const std::string& text)>;

// An integer without a sign.
Validator wholeNumber(uint64_t min = 0, uint64_t max = std::numeric_limits<uint64_t>::max());

// A port to listen on; 0 lets the system choose.
Validator portNumber();

// A finite number, with or without a fraction.
Validator numberBetween(double min, double max);

Validator numberAboveZero();

// An existing file that is not a directory.
Validator existingFile();

Validator existingDirectory();

}  // namespace cli
