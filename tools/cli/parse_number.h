#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace cli {

// Numbers as people and scripts write them: nothing may stand before or behind them, not even a
// blank. Pure.

// The number that the whole text is; nothing for another text and for one beyond the type.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

// The same, only from `least` to `most`; "nan" lies between no two.
template <typename Number>
std::optional<Number> parseNumber(std::string_view text, Number least, Number most) {
    const auto number = parseNumber<Number>(text);
    return number && *number >= least && *number <= most ? number : std::nullopt;
}

}  // namespace cli
