// Every function walks over the characters of UTF-8, found by their lead byte in kLeadBytes, and
// replaces those that its destination must not receive; bytes that are not UTF-8 count singly.

#include "cli/escape.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace cli {

namespace {

constexpr const char* kReplacement = "\xef\xbf\xbd";

// The lead bytes of longer characters, and the range of the byte after each: beyond it are overlong
// forms, surrogates, and numbers above U+10FFFF.
struct LeadByte {
    size_t length;
    unsigned char first, last;
    unsigned char secondFirst, secondLast;
};

constexpr LeadByte kLeadBytes[] = {
    {2, 0xc2, 0xdf, 0x80, 0xbf}, {3, 0xe0, 0xe0, 0xa0, 0xbf}, {3, 0xe1, 0xec, 0x80, 0xbf},
    {3, 0xed, 0xed, 0x80, 0x9f}, {3, 0xee, 0xef, 0x80, 0xbf}, {4, 0xf0, 0xf0, 0x90, 0xbf},
    {4, 0xf1, 0xf3, 0x80, 0xbf}, {4, 0xf4, 0xf4, 0x80, 0x8f},
};

bool isBetween(char character, unsigned char first, unsigned char last) {
    const auto byte = static_cast<unsigned char>(character);
    return byte >= first && byte <= last;
}

size_t characterLength(const std::string& text, size_t at) {
    return utf8Length(std::string_view(text).substr(at));
}

// Control characters: C0, DEL, and C1 as UTF-8 encodes it.
bool isControl(const std::string& character) {
    return isBetween(character[0], 0x00, 0x1f) || character[0] == 0x7f ||
           (character[0] == '\xc2' && isBetween(character[1], 0x80, 0x9f));
}

// Marks and embeddings that change the direction of text: U+200E, U+200F, U+202A to U+202E and
// U+2066 to U+2069.
bool turnsDirection(const std::string& character) {
    if (character.size() != 3 || character[0] != '\xe2') {
        return false;
    }
    return character[1] == '\x80'
               ? isBetween(character[2], 0x8e, 0x8f) || isBetween(character[2], 0xaa, 0xae)
               : character[1] == '\x81' && isBetween(character[2], 0xa6, 0xa9);
}

bool misleads(const std::string& character) {
    return isControl(character) || turnsDirection(character);
}

std::string escaped(char byte) {
    switch (byte) {
        case '\n':
            return "\\n";
        case '\t':
            return "\\t";
        default:
            break;
    }
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\x%02x", static_cast<unsigned char>(byte));
    return text.data();
}

std::string allEscaped(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += escaped(byte);
    }
    return text;
}

std::string jsonEscape(char number) {
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\u%04x", static_cast<unsigned char>(number));
    return text.data();
}

bool isVariableCharacter(char character) {
    return character == '_' || isBetween(character, '0', '9') || isBetween(character, 'A', 'Z') ||
           isBetween(character, 'a', 'z');
}

}  // namespace

size_t utf8Length(std::string_view text) {
    if (isBetween(text[0], 0x00, 0x7f)) {
        return 1;
    }
    const auto* lead =
        std::find_if(std::begin(kLeadBytes), std::end(kLeadBytes),
                     [&](const LeadByte& row) { return isBetween(text[0], row.first, row.last); });
    if (lead == std::end(kLeadBytes) || text.size() < lead->length ||
        !isBetween(text[1], lead->secondFirst, lead->secondLast)) {
        return 0;
    }
    const std::string_view rest = text.substr(2, lead->length - 2);
    const bool whole = std::all_of(rest.begin(), rest.end(),
                                   [](char byte) { return isBetween(byte, 0x80, 0xbf); });
    return whole ? lead->length : 0;
}

std::string escapeForTerminal(const std::string& text) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t length = characterLength(text, at);
        const std::string character = text.substr(at, std::max<size_t>(length, 1));
        result += length == 0 || misleads(character) ? allEscaped(character) : character;
        at += character.size();
    }
    return result;
}

std::string validUTF8(const std::string& text) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        const size_t length = characterLength(text, at);
        result += length == 0 ? kReplacement : text.substr(at, length);
        at += std::max<size_t>(length, 1);
    }
    return result;
}

std::string escapeJSON(const std::string& json) {
    std::string result;
    for (size_t at = 0; at < json.size();) {
        const size_t length = std::max<size_t>(characterLength(json, at), 1);
        const std::string character = json.substr(at, length);
        // The last byte of such a character is its number.
        result += isControl(character) ? jsonEscape(character.back()) : character;
        at += length;
    }
    return result;
}

std::string shellQuoted(const std::string& text) {
    std::string word = "'";
    for (const char character : text) {
        word += character == '\'' ? std::string("'\\''") : std::string(1, character);
    }
    return word + "'";
}

std::string shellName(const std::string& name) {
    std::string variable = name;
    std::replace_if(
        variable.begin(), variable.end(), [](char each) { return !isVariableCharacter(each); },
        '_');
    return variable.empty() || isBetween(variable[0], '0', '9') ? "_" + variable : variable;
}

}  // namespace cli
