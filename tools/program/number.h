#pragma once

#include <cstdint>
#include <limits>

#include "program/help_text.h"

// Checks of what options take, with words of their own for a value that they do not take: the
// library takes -1 for a large number, and says of others only that it could not convert them.

// A whole number without a sign, at most `most`.
CLI::Validator wholeNumber(uint64_t most = std::numeric_limits<uint64_t>::max());

CLI::Validator portNumber();
