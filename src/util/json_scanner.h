#pragma once

#include <cstdint>
#include <string_view>

namespace util {

// Reads JSON of a form that the caller expects, from the beginning of a text to its end, and takes
// no memory. Each call that fails leaves the scanner where it is: the text is then for the JSON
// library, which accepts all that the scanner accepts, and much more.
class JSONScanner {
  public:
    // Keeps a reference to the bytes of the text.
    explicit JSONScanner(std::string_view text) : rest_(text) {}

    // Takes this character, with spaces before it.
    bool take(char expected);
    // Takes a string without escapes; `text` is what is between the quotes.
    bool takeString(std::string_view& text);
    // Takes a whole number without an exponent that fits.
    bool takeInteger(int32_t& number);

  private:
    std::string_view rest_;
};

}  // namespace util
