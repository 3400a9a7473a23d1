#include "pallctl/top/display_text.h"

#include <langinfo.h>

#include "cli/character.h"

namespace pallctl::top {

namespace {

using cli::Character;
using cli::readCharacter;

constexpr char kUnknown = '?';

}  // namespace

Charset detectCharset() {
    return std::string_view(::nl_langinfo(CODESET)) == "UTF-8" ? Charset::unicode : Charset::ascii;
}

std::string showable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const Character character = readCharacter(text);
        if (character.columns < 0) {
            result += kUnknown;
        } else {
            result += text.substr(0, character.bytes);
        }
        text.remove_prefix(character.bytes);
    }
    return result;
}

std::string getFirstCharacter(std::string_view text) {
    return std::string(text.substr(0, readCharacter(text).bytes));
}

std::size_t lineWidth(std::string_view text) {
    std::size_t columns = 0;
    while (!text.empty()) {
        const Character character = readCharacter(text);
        columns += cli::countColumns(character);
        text.remove_prefix(character.bytes);
    }
    return columns;
}

std::string clip(std::string_view text, std::size_t columns) {
    std::size_t end = 0;
    while (end < text.size()) {
        const Character character = readCharacter(text.substr(end));
        const std::size_t width = cli::countColumns(character);
        if (width > columns) {
            break;
        }
        columns -= width;
        end += character.bytes;
    }
    return std::string(text.substr(0, end));
}

std::string alignRight(const std::string& text, std::size_t columns) {
    const std::size_t own = lineWidth(text);
    return std::string(own < columns ? columns - own : 0, ' ') + text;
}

std::string fit(std::string_view text, std::size_t columns, Charset charset) {
    std::string result = clip(text, columns);
    if (result.size() < text.size() && columns > 0) {
        result = clip(text, columns - 1) + (charset == Charset::unicode ? "…" : ">");
    }
    return result.append(columns - lineWidth(result), ' ');
}

}  // namespace pallctl::top
