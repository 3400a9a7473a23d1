#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Makes text from a device safe for its destination. Pure functions.

namespace cli {

// Writes every control character, every byte that is not UTF-8, and every character that changes
// the direction of text as an escape ("\n", "\x1b"), so that nothing from a device breaks a line,
// commands a terminal, or looks like another text.
std::string escapeForTerminal(const std::string& text);

// The length in bytes of the character of UTF-8 (shortest form, no surrogate, up to U+10FFFF) at
// the beginning of a text that is not empty; 0 when there is none.
size_t utf8Length(std::string_view text);

// Replaces every byte that is not UTF-8 by U+FFFD.
std::string validUTF8(const std::string& text);

// Escapes the control characters in JSON that a terminal would obey (DEL and C1); the meaning is
// the same.
std::string escapeJSON(const std::string& json);

// Quotes the text as one word of a POSIX shell.
std::string shellQuoted(const std::string& text);

// The name as a shell variable, "system_ipAddress": characters that a variable cannot have become
// "_".
std::string shellName(const std::string& name);

}  // namespace cli
