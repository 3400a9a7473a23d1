#include "util/json_scanner.h"

#include <charconv>

namespace util {

void JSONScanner::skipSpaces() {
    while (place_ != end_ && *place_ == ' ') {
        ++place_;
    }
}

bool JSONScanner::take(char expected) {
    skipSpaces();
    if (place_ == end_ || *place_ != expected) {
        return false;
    }
    ++place_;
    return true;
}

bool JSONScanner::takeString(std::string_view& text) {
    if (!take('"')) {
        return false;
    }
    const char* const begin = place_;
    while (place_ != end_ && *place_ != '"' && *place_ != '\\') {
        ++place_;
    }
    text = {begin, static_cast<std::size_t>(place_ - begin)};
    return place_ != end_ && *place_++ == '"';
}

bool JSONScanner::takeKey(std::string_view expected) {
    std::string_view key;
    return takeString(key) && key == expected && take(':');
}

// A fraction or an exponent that follows fails the next call.
bool JSONScanner::takeInteger(int32_t& number) {
    skipSpaces();
    const auto read = std::from_chars(place_, end_, number);
    place_ = read.ptr;
    return read.ec == std::errc();
}

}  // namespace util
