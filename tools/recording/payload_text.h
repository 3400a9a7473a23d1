#pragma once

#include <optional>
#include <string>
#include <string_view>

// The two forms in which a line of a recording carries bytes.

namespace recording {

// True for UTF-8 (shortest forms, no surrogates, up to U+10FFFF) without control characters, those
// below U+0020 and U+007F, but tab, line feed and carriage return.
bool isLegible(std::string_view bytes);

// Legible text as a JSON string, quotes included.
std::string quoted(std::string_view text);

// RFC 4648, with padding and without line ends. Nothing for a text that toBase64 never makes.
std::string toBase64(std::string_view bytes);
std::optional<std::string> fromBase64(std::string_view text);

}  // namespace recording
