#include "recording/payload_encoding.h"

#include <cstddef>
#include <cstdint>

#include "cli/escape.h"
#include "util/json.h"

namespace recording {

namespace {

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

bool isLegibleASCII(char byte) {
    return (byte >= 0x20 && byte <= 0x7e) || byte == '\t' || byte == '\n' || byte == '\r';
}

}  // namespace

bool isLegible(std::string_view bytes) {
    while (!bytes.empty()) {
        const size_t length = cli::utf8Length(bytes);
        if (length == 0 || (length == 1 && !isLegibleASCII(bytes[0]))) {
            return false;
        }
        bytes.remove_prefix(length);
    }
    return true;
}

std::string quoted(std::string_view text) {
    return util::renderJSON(util::jsonString(std::string(text)).get(), false);
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
