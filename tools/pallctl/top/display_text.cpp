#include "pallctl/top/display_text.h"

#include <langinfo.h>

#include <cwchar>

namespace pallctl::top {

namespace {

constexpr char kUnknown = '?';

// One character at the beginning of a text.
struct Character {
    std::size_t bytes = 1;
    int columns = -1;  // negative: nothing that a screen can show
};

Character readCharacter(std::string_view text) {
    std::mbstate_t state{};
    wchar_t character = 0;
    const std::size_t bytes = std::mbrtowc(&character, text.data(), text.size(), &state);
    // 0 for a NUL; beyond the text's size for bytes that are no character.
    return bytes == 0 || bytes > text.size() ? Character{} : Character{bytes, ::wcwidth(character)};
}

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
        columns += character.columns < 0 ? 1 : static_cast<std::size_t>(character.columns);
        text.remove_prefix(character.bytes);
    }
    return columns;
}

std::string clip(std::string_view text, std::size_t columns) {
    std::size_t end = 0;
    while (end < text.size()) {
        const Character character = readCharacter(text.substr(end));
        const auto width = character.columns < 0 ? 1 : static_cast<std::size_t>(character.columns);
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
