#include "recording/payload_text.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace recording {

namespace {

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The lead bytes of UTF-8, and the range that the byte behind each of them is confined to (which
// keeps out longer forms than needed, surrogates, and what is beyond U+10FFFF); further bytes are
// from 0x80 to 0xbf.
struct Lead {
    uint8_t first;
    uint8_t last;
    uint8_t followers;
    uint8_t low;
    uint8_t high;
};
constexpr std::array<Lead, 8> kLeads{{{0xc2, 0xdf, 1, 0x80, 0xbf},
                                      {0xe0, 0xe0, 2, 0xa0, 0xbf},
                                      {0xe1, 0xec, 2, 0x80, 0xbf},
                                      {0xed, 0xed, 2, 0x80, 0x9f},
                                      {0xee, 0xef, 2, 0x80, 0xbf},
                                      {0xf0, 0xf0, 3, 0x90, 0xbf},
                                      {0xf1, 0xf3, 3, 0x80, 0xbf},
                                      {0xf4, 0xf4, 3, 0x80, 0x8f}}};

bool isWithin(char byte, uint8_t low, uint8_t high) {
    const auto value = static_cast<uint8_t>(byte);
    return value >= low && value <= high;
}

bool isLegibleASCII(char byte) {
    return isWithin(byte, 0x20, 0x7e) || byte == '\t' || byte == '\n' || byte == '\r';
}

// How many bytes the character at the start takes; 0 when there is none that is legible.
size_t characterSize(std::string_view bytes) {
    if (isLegibleASCII(bytes[0])) {
        return 1;
    }
    for (const Lead& lead : kLeads) {
        if (!isWithin(bytes[0], lead.first, lead.last)) {
            continue;
        }
        bool whole = bytes.size() > lead.followers && isWithin(bytes[1], lead.low, lead.high);
        for (size_t i = 2; whole && i <= lead.followers; ++i) {
            whole = isWithin(bytes[i], 0x80, 0xbf);
        }
        return whole ? size_t{1} + lead.followers : 0;
    }
    return 0;
}

// The letter behind the backslash; 0 for a character that needs none.
char escapeOf(char character) {
    switch (character) {
        case '"':
        case '\\':
            return character;
        case '\t':
            return 't';
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        default:
            return 0;
    }
}

}  // namespace

bool isLegible(std::string_view bytes) {
    while (!bytes.empty()) {
        const size_t size = characterSize(bytes);
        if (size == 0) {
            return false;
        }
        bytes.remove_prefix(size);
    }
    return true;
}

std::string quoted(std::string_view text) {
    std::string result;
    result.reserve(text.size() + text.size() / 4 + 2);
    result += '"';
    for (const char character : text) {
        const char escape = escapeOf(character);
        if (escape != 0) {
            result += '\\';
        }
        result += escape != 0 ? escape : character;
    }
    result += '"';
    return result;
}

std::string toBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (size_t start = 0; start < bytes.size(); start += 3) {
        const std::string_view group = bytes.substr(start, 3);
        uint32_t bits = 0;
        for (size_t i = 0; i < 3; ++i) {
            bits = bits << 8U | (i < group.size() ? static_cast<uint8_t>(group[i]) : 0U);
        }
        for (size_t i = 0; i < 4; ++i) {
            text += i <= group.size() ? kBase64[bits >> (18 - 6 * i) & 0x3fU] : '=';
        }
    }
    return text;
}

std::optional<std::string> fromBase64(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    uint32_t bits = 0;
    unsigned held = 0;
    for (const char letter : text.substr(0, text.find('='))) {
        const size_t value = kBase64.find(letter);
        if (value == std::string_view::npos) {
            return std::nullopt;
        }
        bits = bits << 6U | static_cast<uint32_t>(value);
        held += 6;
        if (held >= 8) {
            held -= 8;
            bytes += static_cast<char>(bits >> held & 0xffU);
        }
    }
    // Padding of the wrong length and bits that belong to no byte are found by going back.
    return toBase64(bytes) == text ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace recording
