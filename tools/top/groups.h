#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "top/board.h"

namespace top {

// Parameters under a common heading.
struct Section {
    std::string title;
    std::vector<const pallctl::Parameter*> parameters;  // borrowed from the board, not empty
};

// Everything that the device has described, and what else is known of the catalogue's parameters,
// by groups of what belongs together for a person. A parameter of no group comes last, under
// "Other". With a text, only the parameters that match it.
std::vector<Section> sectionsOf(const Board& board, std::string_view text = {});

// Whether name, label or value hold the text, in any case.
bool matches(const Board& board, const pallctl::Parameter& parameter, std::string_view text);

}  // namespace top
