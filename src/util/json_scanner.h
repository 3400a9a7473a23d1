#pragma once

#include <cstdint>
#include <string_view>

namespace util {

// Reads JSON of a form that the caller expects, from the beginning of a text to its end, and takes
// no memory. After a call that fails the text is for the JSON library, which accepts all that the
// scanner accepts, and much more.
class JSONScanner {
  public:
    // Keeps a reference to the bytes of the text.
    explicit JSONScanner(std::string_view text)
        : place_(text.data()), end_(text.data() + text.size()) {}

    // Takes this character, with spaces before it.
    bool take(char expected);
    // Takes a string without escapes; `text` is what is between the quotes.
    bool takeString(std::string_view& text);
    // Takes the key of a member and the colon behind it.
    bool takeKey(std::string_view expected);
    // Takes a whole number without an exponent that fits.
    bool takeInteger(int32_t& number);

  private:
    void skipSpaces();

    const char* place_;
    const char* const end_;
};

}  // namespace util
