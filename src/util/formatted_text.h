#pragma once

#include <array>
#include <cstdarg>
#include <memory>
#include <optional>
#include <string_view>

namespace util {

// A text put together as vprintf does it, without an exception: a text of the usual length is in
// the object, only a longer one asks for memory. `%m` is the text of errno at the call; errno is
// left as it was.
class FormattedText {
  public:
    FormattedText(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    FormattedText(const FormattedText&) = delete;
    FormattedText& operator=(const FormattedText&) = delete;

    // Nothing when there was no memory for it. Valid as long as the object.
    std::optional<std::string_view> text() const { return text_; }

  private:
    std::array<char, 1024> usual_;
    std::unique_ptr<char[]> longer_;
    std::optional<std::string_view> text_;
};

}  // namespace util
