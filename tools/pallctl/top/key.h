#pragma once

#include <string>

namespace pallctl::top {

// The meaning of a key.
enum class KeyCode {
    character,
    up,
    down,
    left,
    right,
    pageUp,
    pageDown,
    home,
    end,
    enter,
    escape,
    backspace,
    erase,      // the character under the cursor
    clearLine,  // all that was typed
    tab,
    redraw,
};

struct Key {
    KeyCode code = KeyCode::character;
    std::string text;  // of a character: its bytes in the locale's character set
};

}  // namespace pallctl::top
