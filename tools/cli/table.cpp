#include "cli/table.h"

#include <algorithm>

namespace cli {

namespace {

constexpr size_t kGap = 2;

std::string line(const std::vector<Cell>& cells, const std::vector<size_t>& widths, bool colour) {
    std::string text;
    size_t gap = 0;
    for (size_t column = 0; column < cells.size(); ++column) {
        const Cell& cell = cells[column];
        if (!cell.text.empty()) {
            text.append(gap, ' ');
            text += colour ? painted(cell.text, cell.paint) : cell.text;
            gap = 0;
        }
        gap += widths[column] - textWidth(cell.text) + kGap;
    }
    return text + '\n';
}

}  // namespace

// Bytes that continue a character take no column of their own.
size_t textWidth(const std::string& text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](unsigned char byte) { return (byte & 0xC0u) != 0x80u; }));
}

std::string painted(const std::string& text, Paint paint) {
    switch (paint) {
        case Paint::bold:
            return "\x1b[1m" + text + "\x1b[0m";
        case Paint::faint:
            return "\x1b[2m" + text + "\x1b[0m";
        case Paint::none:
            break;
    }
    return text;
}

Table::Table(std::vector<Cell> heads) {
    for (Cell& head : heads) {
        head.paint = Paint::bold;
    }
    add(std::move(heads));
}

void Table::add(std::vector<Cell> cells) {
    rows_.push_back(std::move(cells));
    rows_.back().resize(rows_.front().size(), "");
}

std::vector<size_t> Table::widths() const {
    std::vector<size_t> widths(rows_.front().size());
    for (const auto& row : rows_) {
        for (size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], textWidth(row[column].text));
        }
    }
    return widths;
}

std::string Table::text(bool colour) const {
    const std::vector<size_t> columns = widths();
    std::string text;
    for (const auto& row : rows_) {
        text += line(row, columns, colour);
    }
    return text;
}

}  // namespace cli
