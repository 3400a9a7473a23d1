#include "cli/escape.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace cli {

namespace {

constexpr const char* kReplacement = "\xef\xbf\xbd";

// The first bytes of longer characters, and what the byte behind each may be: beyond that stand
// forms that are too long, halves of pairs, and what is no Unicode.
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

// How many bytes the character has that begins here, 0 when none does.
size_t characterLength(const std::string& text, size_t at) {
    if (isBetween(text[at], 0x00, 0x7f)) {
        return 1;
    }
    const auto* lead =
        std::find_if(std::begin(kLeadBytes), std::end(kLeadBytes),
                     [&](const LeadByte& row) { return isBetween(text[at], row.first, row.last); });
    if (lead == std::end(kLeadBytes) || text.size() - at < lead->length ||
        !isBetween(text[at + 1], lead->secondFirst, lead->secondLast)) {
        return 0;
    }
    const std::string rest = text.substr(at + 2, lead->length - 2);
    const bool whole = std::all_of(rest.begin(), rest.end(),
                                   [](char byte) { return isBetween(byte, 0x80, 0xbf); });
    return whole ? lead->length : 0;
}

// What a person would not see, or a terminal would obey: C0, DEL, and C1 as UTF-8 writes it.
bool isControl(const std::string& character) {
    return isBetween(character[0], 0x00, 0x1f) || character[0] == 0x7f ||
           (character[0] == '\xc2' && isBetween(character[1], 0x80, 0x9f));
}

// The marks and embeddings that turn the direction of what stands around them: U+200E, U+200F,
// U+202A to U+202E and U+2066 to U+2069.
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
