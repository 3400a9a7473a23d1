#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <string>

namespace cli {

// Whether a text is what an option takes: gives the complaint about it, "" when it is good.
using Validator = std::function<std::string(const std::string& text)>;

// A whole number without a sign.
Validator wholeNumber(uint64_t least = 0, uint64_t most = std::numeric_limits<uint64_t>::max());

// A port that can be listened on; 0 leaves the choice to the machine.
Validator portNumber();

// A finite number, perhaps with a fraction.
Validator numberBetween(double least, double most);

Validator numberAboveZero();

// Something there that is no directory.
Validator existingFile();

Validator existingDirectory();

}  // namespace cli
