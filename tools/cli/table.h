#pragma once

#include <string>
#include <utility>
#include <vector>

namespace cli {

enum class Paint { none, bold, faint };

// One cell of a table.
struct Cell {
    Cell(std::string content, Paint look = Paint::none)  // NOLINT: a text is a cell
        : text(std::move(content)), paint(look) {}
    Cell(const char* content) : text(content) {}  // NOLINT: the same
    // A text with a shorter one for a narrow terminal.
    Cell(std::string content, std::string shortForm)
        : text(std::move(content)), brief(std::move(shortForm)) {}

    std::string text;
    std::string brief;  // empty: the text
    Paint paint = Paint::none;
};

// A column, and how it gives way on a terminal that is too narrow for the table.
struct Column {
    Column(std::string name, size_t least = 0, int order = 0)  // NOLINT: a name is a column
        : head(std::move(name)), readableWidth(least), dropOrder(order) {}
    Column(const char* name) : head(name) {}  // NOLINT: the same

    std::string head;
    size_t readableWidth = 0;  // its texts are cut down to that many columns; 0: not cut
    int dropOrder = 0;         // 1 is left out first, then 2, and so on; 0: stays
};

// Rows of text in columns as wide as their widest cell (textWidth), with two blanks between
// them and no trailing blanks. Every row has as many cells as the table has columns.
//
// In a limited width, columns give way step by step until the table fits: texts are cut down to
// readable widths; the short forms are used; columns are left out; in the end every text is cut.
class Table {
  public:
    explicit Table(std::vector<Column> columns);
    void add(std::vector<Cell> cells);

    // With `colour` the cells are painted and the head is bold. At most `maxWidth` columns wide, as
    // far as a few characters of each column fit; 0: any width.
    std::string text(bool colour = false, size_t maxWidth = 0) const;

  private:
    struct Layout;

    Layout fit(size_t maxWidth) const;
    Layout measure(bool isBrief, int dropped) const;

    std::vector<Column> columns_;
    std::vector<std::vector<Cell>> rows_;  // the first one is the head
};

// The width of the text, which is UTF-8, in columns of a terminal: two for an ideograph, none for a
// combining mark.
size_t textWidth(const std::string& text);

// Shortens the text to at most that many columns; the last one then is "…".
std::string shorten(const std::string& text, size_t columns);

// The text with the paint's escape sequences around it.
std::string painted(const std::string& text, Paint paint);

// The width of the terminal; 0 if the descriptor is none or the width is unknown.
size_t readTerminalWidth(int descriptor);

}  // namespace cli
