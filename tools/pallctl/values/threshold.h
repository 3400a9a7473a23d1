#pragma once

#include <optional>
#include <string>

#include "systemstate/limits.h"

// Thresholds of a monitoring plugin. Pure functions.

namespace pallctl {

// When a value deserves an alert: outside the range or, with alertsInside, in it.
struct Threshold {
    systemstate::Range range;
    bool alertsInside = false;
};

// Parses the range syntax of monitoring plugins: "10" (0 to 10), "10:", "~:10", "10:20", "@10:20".
// Empty for any other text, and for a range that ends before it starts.
std::optional<Threshold> parseThreshold(const std::string& text);

bool isAlert(const Threshold& threshold, double value);

// The same syntax, "11.4:12.6"; empty for a threshold that never alerts.
std::string formatThreshold(const Threshold& threshold);

}  // namespace pallctl
