#include "pallctl/top/line_editor.h"

#include <algorithm>
#include <numeric>

#include "pallctl/top/display_text.h"

namespace pallctl::top {

namespace {

std::string join(const std::vector<std::string>& characters, std::size_t count) {
    const auto end = characters.begin() + static_cast<std::ptrdiff_t>(count);
    return std::accumulate(characters.begin(), end, std::string());
}

}  // namespace

LineEditor::LineEditor(const std::string& text) {
    for (std::string rest = text; !rest.empty(); rest.erase(0, characters_.back().size())) {
        characters_.push_back(getFirstCharacter(rest));
    }
    cursor_ = characters_.size();
}

std::string LineEditor::text() const {
    return join(characters_, characters_.size());
}

std::string LineEditor::textBeforeCursor() const {
    return join(characters_, cursor_);
}

bool LineEditor::press(const Key& key) {
    switch (key.code) {
        case KeyCode::character:
            return insert(key);
        case KeyCode::backspace:
            return cursor_ > 0 && remove(--cursor_);
        case KeyCode::erase:
            return remove(cursor_);
        case KeyCode::left:
            cursor_ -= std::min<std::size_t>(cursor_, 1);
            return true;
        case KeyCode::right:
            cursor_ = std::min(cursor_ + 1, characters_.size());
            return true;
        case KeyCode::home:
            cursor_ = 0;
            return true;
        case KeyCode::end:
            cursor_ = characters_.size();
            return true;
        case KeyCode::clearLine:
            *this = LineEditor();
            return true;
        default:
            return false;
    }
}

bool LineEditor::insert(const Key& key) {
    characters_.insert(characters_.begin() + static_cast<std::ptrdiff_t>(cursor_++), key.text);
    return true;
}

bool LineEditor::remove(std::size_t at) {
    if (at < characters_.size()) {
        characters_.erase(characters_.begin() + static_cast<std::ptrdiff_t>(at));
    }
    return true;
}

}  // namespace pallctl::top
