#pragma once

#include <chrono>
#include <string_view>
#include <vector>

#include "trouble/words.h"

namespace pallbus {

// What is to happen, and when since the start of its script.
struct Step {
    std::chrono::milliseconds at{};
    Order order;

    bool operator==(const Step&) const = default;
};

// Reads a script of trouble; one line without a time is the shortest one. The steps come in the
// order of their times. `name` stands for the script in errors. Throws script::Error. Pure.
std::vector<Step> parsePlan(std::string_view text, std::string_view name);

// The same for one line that somebody typed: throws BadTrouble, without a place.
std::vector<Step> parseLine(std::string_view line);

}  // namespace pallbus
