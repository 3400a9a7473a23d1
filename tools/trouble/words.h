#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "trouble/rule.h"

// Trouble in words, as a person writes it: "drop 10% to daemon object system for 5s". The words are
// those of doc/stand-in-bus.md. All calls are pure, and safe for any text.

namespace pallbus {

// What is wrong with the words, in one line without the line they stand in.
struct BadTrouble : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// "calm": the end of all trouble.
struct Calm {
    bool operator==(const Calm&) const = default;
};
using Order = std::variant<Calm, Rule>;

// Throws BadTrouble.
Order parseOrder(std::span<const std::string> words);

// The words that may stand behind those, for who types: the kinds of trouble behind none, "from" or
// "every" behind "drop". None where a name, a time or a number is to stand, or those make no sense.
std::vector<std::string> wordsBehind(std::span<const std::string> before);

// A rule in words again; script::parse and parseOrder make an equal one of it.
std::string textOf(const Rule& rule);

}  // namespace pallbus
