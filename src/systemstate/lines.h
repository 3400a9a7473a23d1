#pragma once

#include <string_view>

// Cuts the first line off the front of `text` and gives it without its line feed, which the last
// line need not have.
inline std::string_view takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}
