#pragma once

#include <string>
#include <vector>

namespace cli {

enum class Paint { none, bold, faint };

// One cell of a table.
struct Cell {
    Cell(std::string content, Paint look = Paint::none)  // NOLINT: a text is a cell
        : text(std::move(content)), paint(look) {}
    Cell(const char* content) : text(content) {}  // NOLINT: the same

    std::string text;
    Paint paint = Paint::none;
};

// Rows of text in columns as wide as their widest cell (in characters of UTF-8), with two blanks
// between them and no trailing blanks. The first row is the head; every row has as many cells.
class Table {
  public:
    explicit Table(std::vector<Cell> heads);
    void add(std::vector<Cell> cells);

    // With `colour` the cells are painted and the head is bold.
    std::string text(bool colour = false) const;

  private:
    std::vector<size_t> widths() const;

    std::vector<std::vector<Cell>> rows_;
};

// The width of the text in columns: one for each character of UTF-8.
size_t textWidth(const std::string& text);

// The text with the paint's escape sequences around it.
std::string painted(const std::string& text, Paint paint);

}  // namespace cli
