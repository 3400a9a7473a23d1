#pragma once

#include <optional>
#include <string>
#include <vector>

namespace pallctl {

// "NAME=VALUE" as somebody typed it; the value may hold further "=".
struct Assignment {
    std::string name;
    std::string value;
};

// Nothing, and a complaint on standard error, when one of the words is none.
std::optional<std::vector<Assignment>> parseAssignments(const std::vector<std::string>& words);

std::vector<std::string> namesOf(const std::vector<Assignment>& assignments);

}  // namespace pallctl
