#pragma once

#include <array>
#include <charconv>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace util {

// Appends the parts one after the other, with one check of the memory for all of them. None of the
// parts may lie in `text`.
void append(std::string& text, std::initializer_list<std::string_view> parts);

// A number in decimal digits, to be appended as a part.
class Digits {
  public:
    explicit Digits(int64_t number) : end_(std::to_chars(text_.begin(), text_.end(), number).ptr) {}
    Digits(const Digits&) = delete;
    Digits& operator=(const Digits&) = delete;

    // Valid as long as this object.
    operator std::string_view() const { return {text_.begin(), end_}; }

  private:
    std::array<char, 20> text_;  // the lowest has a sign and 19 digits
    const char* const end_;
};

}  // namespace util
