#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace cli {

// Numbers as people and scripts write them, without any other character, not even a blank. Pure.

// The number in the whole text; empty for another text or a number out of range of the type.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

// The same, from `min` to `max`; never "nan".
template <typename Number>
std::optional<Number> parseNumber(std::string_view text, Number min, Number max) {
    const auto number = parseNumber<Number>(text);
    return number && *number >= min && *number <= max ? number : std::nullopt;
}

}  // namespace cli
