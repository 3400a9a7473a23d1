#pragma once

#include <optional>
#include <string>
#include <string_view>

// The two encodings of a payload in a recording.

namespace recording {

// Whether it is UTF-8 without control characters (below U+0020, and U+007F) except tab, line feed
// and carriage return.
bool isLegible(std::string_view bytes);

// Legible text as a JSON string, quotes included.
std::string quoted(std::string_view text);

// RFC 4648, with padding and without line ends. fromBase64 is empty for a text that toBase64 never
// returns.
std::string toBase64(std::string_view bytes);
std::optional<std::string> fromBase64(std::string_view text);

}  // namespace recording
