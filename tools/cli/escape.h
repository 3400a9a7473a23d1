#pragma once

#include <string>

// What a device says, made safe for where it is shown. Pure functions.

namespace cli {

// The text with every control character, and every byte that is no UTF-8, written as an escape
// ("\n", "\x1b"), so that nothing a device says breaks a line or commands a terminal; the same for
// characters that turn the direction of a text, which would let it look like another one.
std::string escapeForTerminal(const std::string& text);

// The text with U+FFFD for every byte that is no UTF-8.
std::string validUTF8(const std::string& text);

// JSON without white space, with the control characters that it may hold and a terminal would obey
// (DEL and C1) as escapes: it means the same.
std::string escapeJSON(const std::string& json);

// The text as one word of a POSIX shell, which takes nothing in it for a command.
std::string shellQuoted(const std::string& text);

// The name as a shell's variable, "system_ipAddress": every character that a variable cannot have
// is "_".
std::string shellName(const std::string& name);

}  // namespace cli
