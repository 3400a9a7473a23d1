#include "util/json_scanner.h"

#include <charconv>

namespace util {

namespace {

void skipSpaces(std::string_view& text) {
    while (!text.empty() && text.front() == ' ') {
        text.remove_prefix(1);
    }
}

}  // namespace

bool JSONScanner::take(char expected) {
    skipSpaces(rest_);
    if (rest_.empty() || rest_.front() != expected) {
        return false;
    }
    rest_.remove_prefix(1);
    return true;
}

bool JSONScanner::takeString(std::string_view& text) {
    skipSpaces(rest_);
    const std::size_t end = rest_.find('"', 1);
    if (rest_.empty() || rest_.front() != '"' || end == std::string_view::npos) {
        return false;
    }
    const std::string_view found = rest_.substr(1, end - 1);
    if (found.find('\\') != std::string_view::npos) {
        return false;
    }
    text = found;
    rest_.remove_prefix(end + 1);
    return true;
}

// A fraction or an exponent that follows fails the next call.
bool JSONScanner::takeInteger(int32_t& number) {
    skipSpaces(rest_);
    const auto read = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number);
    if (read.ec != std::errc()) {
        return false;
    }
    rest_.remove_prefix(static_cast<std::size_t>(read.ptr - rest_.data()));
    return true;
}

}  // namespace util
