#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Text in the columns of a terminal, in the character set of the locale (LC_CTYPE). Pure functions.

namespace pallctl::top {

// The characters that the locale can show: block characters and arrows, or ASCII only.
enum class Charset { ascii, unicode };

// The character set of the current locale.
Charset detectCharset();

// Replaces every invalid byte and every unprintable character by "?".
std::string showable(std::string_view text);

// The bytes of the first character, or the first byte if it is invalid; not for an empty text.
std::string getFirstCharacter(std::string_view text);

// The width of a showable text in columns: two for an ideograph, none for a combining mark.
std::size_t lineWidth(std::string_view text);

// Fits the showable text to exactly that many columns: padded with blanks, or cut with a mark.
std::string fit(std::string_view text, std::size_t columns, Charset charset);

// Pads the showable text on the left to that many columns; a longer one is unchanged.
std::string alignRight(const std::string& text, std::size_t columns);

// Cuts the showable text to at most that many columns, without a mark.
std::string clip(std::string_view text, std::size_t columns);

}  // namespace pallctl::top
