#pragma once

#include <clocale>
#include <cstddef>
#include <string_view>

namespace cli {

// One character at the beginning of a text, as a terminal shows it.
struct Character {
    std::size_t bytes = 1;
    int columns = -1;  // negative: not a character that a screen can show
};

// Reads the first character of a text that is not empty, in the character set of the locale
// (LC_CTYPE) of this thread. An invalid byte is a character of its own.
Character readCharacter(std::string_view text);

// The columns that the character takes: two for an ideograph, none for a combining mark, one where
// the terminal shows a replacement.
std::size_t countColumns(const Character& character);

// The texts of this thread are UTF-8, whatever the environment says, until the end of its scope.
class UTF8Scope {
  public:
    UTF8Scope();
    ~UTF8Scope();
    UTF8Scope(const UTF8Scope&) = delete;
    UTF8Scope& operator=(const UTF8Scope&) = delete;

  private:
    locale_t previous_;
};

}  // namespace cli
