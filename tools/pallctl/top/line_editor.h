#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "pallctl/top/key.h"

namespace pallctl::top {

// One line of text that a person types. Plain data.
class LineEditor {
  public:
    LineEditor() = default;
    // With a text to begin with, the cursor behind it.
    explicit LineEditor(const std::string& text);

    // True when the key meant something to the line.
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
