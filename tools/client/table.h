#pragma once

#include <string>
#include <vector>

namespace pallctl {

// Rows of text in columns that are as wide as their widest cell (in characters of UTF-8), two
// blanks between them and nothing behind the last. Every row has as many cells as the first.
class Table {
  public:
    explicit Table(std::vector<std::string> heads);
    void add(std::vector<std::string> cells);
    std::string text() const;

  private:
    std::vector<size_t> widths() const;

    std::vector<std::vector<std::string>> rows_;
};

}  // namespace pallctl
