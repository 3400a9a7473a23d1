#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Text in the columns of a terminal, in the character set of the locale (LC_CTYPE). Pure functions.

namespace pallctl::top {

// What the terminal's locale can show: block characters and arrows, or the letters of a typewriter.
enum class Charset { ascii, unicode };

// That of the locale that is set.
Charset charsetOfLocale();

// The text with every byte that is no character of the locale, and every character that has no
// place on a screen, shown as "?".
std::string showable(std::string_view text);

// The bytes of its first character, or its first byte when that is none; not for an empty text.
std::string firstCharacter(std::string_view text);

// How many columns a showable text takes: an ideograph takes two, a combining mark none.
std::size_t lineWidth(std::string_view text);

// The showable text in exactly that many columns: filled up with blanks, or cut with a mark at its
// end that says so.
std::string fitted(std::string_view text, std::size_t columns, Charset charset);

// The showable text behind as many blanks as bring it to that many columns; a longer one as it is.
std::string rightAligned(const std::string& text, std::size_t columns);

// The showable text in as many columns as fit, without a mark and without blanks.
std::string clipped(std::string_view text, std::size_t columns);

}  // namespace pallctl::top
