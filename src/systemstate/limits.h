#pragma once

#include <limits>

#include "systemstate/catalogue.h"

namespace systemstate {

inline constexpr double kUnlimited = std::numeric_limits<double>::infinity();

// Both ends belong to the range; an end without a limit is infinite.
struct Range {
    double low = -kUnlimited;
    double high = kUnlimited;

    constexpr bool contains(double value) const { return value >= low && value <= high; }
};

// The limits of a reading. The daemon publishes no limits and does not link this table; tools use
// it to judge what the daemon publishes. Constant; any thread.
struct Limits {
    Quantity quantity;
    Range usual;         // a value outside deserves a warning
    Range tolerated;     // a value outside is critical
    const char* unit;    // "V"; empty: none
    const char* source;  // where the limits come from, for the page of parameters
};

// The limits of the row's value; null when it has none.
const Limits* findLimits(const CatalogueRow& row);

}  // namespace systemstate
