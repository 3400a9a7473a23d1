#pragma once

#include <chrono>
#include <string_view>
#include <vector>

#include "pallbus/faults/fault_parser.h"

namespace pallbus::faults {

// One line of a fault script.
struct FaultStep {
    std::chrono::milliseconds at{};  // since the start of the script
    FaultRule fault;

    bool operator==(const FaultStep&) const = default;
};

// Reads a fault script; the steps come in the order of their times. Errors name the script by
// `name`. Throws script::Error with all bad lines. Pure.
std::vector<FaultStep> parseFaultScript(std::string_view text, std::string_view name);

// Reads a single line, which may start with a time. Throws FaultSyntaxError, without a line number.
std::vector<FaultStep> parseFaultLine(std::string_view line);

}  // namespace pallbus::faults
