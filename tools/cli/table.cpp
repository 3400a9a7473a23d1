// A layout says which columns are shown, in which form, and how wide. fit() tries one layout after
// the other; in each of them columns with a readable width can be narrower than their texts.

#include "cli/table.h"

#include <sys/ioctl.h>

#include <algorithm>
#include <numeric>
#include <string_view>
#include <utility>

#include "cli/character.h"

namespace cli {

namespace {

constexpr size_t kGap = 2;
constexpr size_t kMinWidth = 8;  // of a column, when nothing else helps
constexpr const char* kMark = "\u2026";

// The beginning of the text that is at most that many columns wide. A combining mark stays with its
// character.
std::string_view clip(std::string_view text, size_t columns) {
    size_t end = 0;
    while (end < text.size()) {
        const Character character = readCharacter(text.substr(end));
        if (countColumns(character) > columns) {
            break;
        }
        columns -= countColumns(character);
        end += character.bytes;
    }
    return text.substr(0, end);
}

}  // namespace

struct Table::Layout {
    struct Place {
        size_t column;  // in the table
        size_t width;
        size_t minWidth;
    };

    bool isBrief = false;
    std::vector<Place> places{};

    size_t width() const {
        return std::accumulate(places.begin(), places.end(), (places.size() - 1) * kGap,
                               [](size_t sum, const Place& place) { return sum + place.width; });
    }

    // Narrows the last columns first. False if the table is still too wide.
    bool narrowTo(size_t maxWidth) {
        for (auto place = places.rbegin(); place != places.rend() && width() > maxWidth; ++place) {
            const size_t spare = place->width - std::min(place->width, place->minWidth);
            place->width -= std::min(spare, width() - maxWidth);
        }
        return width() <= maxWidth;
    }

    std::string format(const std::vector<Cell>& cells, bool colour) const {
        std::string line;
        size_t gap = 0;
        for (const Place& place : places) {
            const Cell& cell = cells[place.column];
            const std::string text = shorten(form(cell), place.width);
            if (!text.empty()) {
                line.append(gap, ' ');
                line += colour ? painted(text, cell.paint) : text;
                gap = 0;
            }
            gap += place.width - textWidth(text) + kGap;
        }
        return line + '\n';
    }

    const std::string& form(const Cell& cell) const {
        return isBrief && !cell.brief.empty() ? cell.brief : cell.text;
    }
};

size_t textWidth(const std::string& text) {
    const UTF8Scope utf8;
    size_t columns = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const Character character = readCharacter(rest);
        columns += countColumns(character);
        rest.remove_prefix(character.bytes);
    }
    return columns;
}

std::string shorten(const std::string& text, size_t columns) {
    if (textWidth(text) <= columns) {
        return text;
    }
    const UTF8Scope utf8;
    return columns == 0 ? "" : std::string(clip(text, columns - 1)) + kMark;
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

size_t readTerminalWidth(int descriptor) {
    winsize size{};
    return ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {
    std::vector<Cell> heads;
    for (const Column& column : columns_) {
        heads.emplace_back(column.head, Paint::bold);
    }
    add(std::move(heads));
}

void Table::add(std::vector<Cell> cells) {
    rows_.push_back(std::move(cells));
    rows_.back().resize(columns_.size(), "");
}

// Without the columns that are dropped up to that order.
Table::Layout Table::measure(bool isBrief, int dropped) const {
    Layout layout{isBrief};
    for (size_t column = 0; column < columns_.size(); ++column) {
        if (columns_[column].dropOrder != 0 && columns_[column].dropOrder <= dropped) {
            continue;
        }
        size_t width = 0;
        for (const auto& row : rows_) {
            width = std::max(width, textWidth(layout.form(row[column])));
        }
        const size_t readable = columns_[column].readableWidth;
        layout.places.push_back({column, width, readable == 0 ? width : readable});
    }
    return layout;
}

Table::Layout Table::fit(size_t maxWidth) const {
    Layout layout = measure(false, 0);
    if (maxWidth == 0 || layout.narrowTo(maxWidth)) {
        return layout;
    }
    const int drops = std::ranges::max(columns_, {}, &Column::dropOrder).dropOrder;
    for (int dropped = 0; dropped <= drops; ++dropped) {
        layout = measure(true, dropped);
        if (layout.narrowTo(maxWidth)) {
            return layout;
        }
    }
    for (Layout::Place& place : layout.places) {
        place.minWidth = std::min(place.minWidth, kMinWidth);
    }
    layout.narrowTo(maxWidth);
    return layout;
}

std::string Table::text(bool colour, size_t maxWidth) const {
    const Layout layout = fit(maxWidth);
    std::string text;
    for (const auto& row : rows_) {
        text += layout.format(row, colour);
    }
    return text;
}

}  // namespace cli
