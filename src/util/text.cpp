#include "util/text.h"

#include <array>
#include <cstdio>

namespace util {

namespace {

constexpr std::size_t kMaxShownBytes = 1024;

unsigned byteAt(std::string_view text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
}

// In one byte, or in UTF-8 where it begins.
bool isControl(std::string_view text, std::size_t at) {
    const unsigned byte = byteAt(text, at);
    const unsigned next = byteAt(text, at + 1);
    return byte < 0x20 || byte == 0x7f || (byte == 0xc2 && next >= 0x80 && next < 0xa0);
}

void appendEscaped(std::string& text, unsigned byte) {
    std::array<char, sizeof "\\x00"> escape = {};
    std::snprintf(escape.data(), escape.size(), "\\x%02x", byte);
    text += escape.data();
}

}  // namespace

std::string stripQuotes(std::string text) {
    if (!text.empty() && text.front() == '\'') {
        text.erase(0, 1);
    }
    if (!text.empty() && text.back() == '\'') {
        text.pop_back();
    }
    return text;
}

std::string& trimLeft(std::string& text) {
    return text.erase(0, text.find_first_not_of(kWhiteSpace));
}

std::string_view takeLine(std::string_view& text) {
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

std::string shownPayload(std::string_view payload, LineFeeds lineFeeds) {
    const std::string_view begin = payload.substr(0, kMaxShownBytes);
    std::string shown;
    bool inControl = false;
    for (std::size_t i = 0; i < begin.size(); ++i) {
        const unsigned byte = byteAt(begin, i);
        const bool kept = byte == '\n' && lineFeeds == LineFeeds::kept;
        if (!kept && (inControl || isControl(begin, i))) {
            appendEscaped(shown, byte);
            inControl = !inControl && byte == 0xc2;
        } else {
            shown += begin[i];
        }
    }
    if (begin.size() < payload.size()) {
        shown += "... (" + std::to_string(payload.size()) + " bytes)";
    }
    return shown;
}

}  // namespace util
