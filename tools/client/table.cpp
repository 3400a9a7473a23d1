#include "client/table.h"

#include <algorithm>

namespace pallctl {

namespace {

constexpr size_t kGap = 2;

// Bytes that continue a character take no column of their own.
size_t width(const std::string& text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](unsigned char byte) { return (byte & 0xC0u) != 0x80u; }));
}

std::string line(const std::vector<std::string>& cells, const std::vector<size_t>& widths) {
    std::string text;
    for (size_t column = 0; column < cells.size(); ++column) {
        text += cells[column];
        text.append(widths[column] - width(cells[column]) + kGap, ' ');
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text + '\n';
}

}  // namespace

Table::Table(std::vector<std::string> heads) {
    add(std::move(heads));
}

void Table::add(std::vector<std::string> cells) {
    rows_.push_back(std::move(cells));
    rows_.back().resize(rows_.front().size());
}

std::vector<size_t> Table::widths() const {
    std::vector<size_t> widths(rows_.front().size());
    for (const auto& row : rows_) {
        for (size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], width(row[column]));
        }
    }
    return widths;
}

std::string Table::text() const {
    const std::vector<size_t> columns = widths();
    std::string text;
    for (const auto& row : rows_) {
        text += line(row, columns);
    }
    return text;
}

}  // namespace pallctl
