#include "util/formatted_text.h"

#include <cerrno>
#include <cstdio>
#include <new>

namespace util {

FormattedText::FormattedText(const char* format, va_list arguments) {
    const int errorNumber = errno;
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(usual_.data(), usual_.size(), format, arguments);
    const std::size_t size = length > 0 ? static_cast<std::size_t>(length) : 0;
    if (size < usual_.size()) {
        text_.emplace(usual_.data(), size);
    } else if (longer_.reset(new (std::nothrow) char[size + 1]); longer_) {
        errno = errorNumber;
        std::vsnprintf(longer_.get(), size + 1, format, again);
        text_.emplace(longer_.get(), size);
    }
    va_end(again);
    errno = errorNumber;
}

}  // namespace util
