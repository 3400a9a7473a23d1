#pragma once

#include <string>
#include <string_view>

namespace util {

// White space as isspace has it in the C locale, the only one in use.
inline constexpr char kWhiteSpace[] = " \t\n\v\f\r";

// Without one leading and one trailing single quote, each only where there is one.
std::string stripQuotes(std::string text);

// Erases leading white space in place and returns the same text.
std::string& trimLeft(std::string& text);

// Cuts the first line off the front of `text` and returns it without its line feed, which the last
// line need not have.
std::string_view takeLine(std::string_view& text);

enum class LineFeeds { escaped, kept };

// A text from the bus as a log or a terminal may have it: control characters as "\x1b" (those of
// UTF-8 as both of their bytes), at most the first KiB, then "... (N bytes)" with its full length.
// Plain text stays as it is.
std::string shownPayload(std::string_view payload, LineFeeds lineFeeds = LineFeeds::escaped);

}  // namespace util
