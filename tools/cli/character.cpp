#include "cli/character.h"

#include <clocale>
#include <cwchar>

namespace cli {

namespace {

// For the whole life of the program. Null where the system has no such locale; the one of the
// environment then remains.
locale_t findUTF8Locale() {
    static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

}  // namespace

Character readCharacter(std::string_view text) {
    if (text[0] >= ' ' && text[0] <= '~') {
        return {1, 1};  // the same in every locale, and most texts are made of these
    }
    std::mbstate_t state{};
    wchar_t character = 0;
    const std::size_t bytes = std::mbrtowc(&character, text.data(), text.size(), &state);
    // 0 for a NUL; beyond the text's size for bytes that are no character.
    return bytes == 0 || bytes > text.size() ? Character{} : Character{bytes, ::wcwidth(character)};
}

std::size_t countColumns(const Character& character) {
    return character.columns < 0 ? 1 : static_cast<std::size_t>(character.columns);
}

UTF8Scope::UTF8Scope() : previous_(::uselocale(findUTF8Locale())) {}

UTF8Scope::~UTF8Scope() {
    ::uselocale(previous_);
}

}  // namespace cli
