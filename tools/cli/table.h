#pragma once

#include <string>
#include <vector>

namespace cli {

enum class Paint { none, bold, faint };

// What stands in one place of a table, and how a terminal shows it.
struct Cell {
    Cell(std::string content, Paint look = Paint::none)  // NOLINT: a text is a cell
        : text(std::move(content)), paint(look) {}
    Cell(const char* content) : text(content) {}  // NOLINT: the same

    std::string text;
    Paint paint = Paint::none;
};

// Rows of text in columns that are as wide as their widest cell (in characters of UTF-8), two
// blanks between them and nothing behind the last. Every row has as many cells as the first, which
// is the head.
class Table {
  public:
    explicit Table(std::vector<Cell> heads);
    void add(std::vector<Cell> cells);

    // With `colour` the cells are painted and the head is bold, as terminals understand it.
    std::string text(bool colour = false) const;

  private:
    std::vector<size_t> widths() const;

    std::vector<std::vector<Cell>> rows_;
};

// How many columns the text takes: one for each character of UTF-8.
size_t textWidth(const std::string& text);

// The text with the paint's escape sequences around it.
std::string painted(const std::string& text, Paint paint);

}  // namespace cli
