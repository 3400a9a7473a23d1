#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "pallctl/top/key.h"

namespace pallctl::top {

// One line of text being typed. Plain data.
class LineEditor {
  public:
    LineEditor() = default;
    // With an initial text, and the cursor at its end.
    explicit LineEditor(const std::string& text);

    // Applies the key. False when it has no meaning in a line.
    bool press(const Key& key);

    std::string text() const;
    std::string textBeforeCursor() const;

  private:
    bool insert(const Key& key);
    bool remove(std::size_t at);

    std::vector<std::string> characters_;
    std::size_t cursor_ = 0;
};

}  // namespace pallctl::top
