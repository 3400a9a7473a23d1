// The screen is planned first: which panels, and how many table rows, fit its size. Then each part
// is rendered as lines, and every line is cut or padded to the width of the screen. A row of the
// table is wide enough for its value first: the time gives way, then the blanks after the name.

#include "pallctl/top/layout.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "pallctl/top/alarms.h"
#include "pallctl/top/line_layout.h"
#include "pallctl/top/panels.h"
#include "pallctl/top/status_lines.h"

namespace pallctl::top {

namespace {

// The parts that fit on the screen.
struct Plan {
    bool panels = false;  // beside each other
    bool stacked = false;
    std::size_t panelRows = 0;
    std::size_t footRows = 0;  // notice or question, and the keys
    std::size_t countTableRows = 0;
};

constexpr std::size_t kHeadRows = 1;
constexpr std::size_t kPanelRows = 7;     // three and three, and a blank line
constexpr std::size_t kStackedRows = 11;  // three, three and four, and a blank line
constexpr std::size_t kSideColumns = 40;
constexpr Size kRoomForPanels{16, 80};
constexpr Size kRoomForStack{24, 36};
constexpr std::size_t kRoomForFoot = 4;

constexpr std::size_t kMarkColumns = 2;
constexpr std::size_t kNameColumns = 24;
constexpr std::size_t kLabelColumns = 22;
constexpr std::size_t kTimeColumns = 9;
constexpr std::size_t kMinCutColumns = 20;
constexpr std::size_t kRoomForLabels = 90;

bool holds(const Size& size, const Size& room) {
    return size.rows >= room.rows && size.columns >= room.columns;
}

Plan makePlan(const Size& size) {
    Plan plan;
    plan.panels = holds(size, kRoomForPanels);
    plan.stacked = !plan.panels && holds(size, kRoomForStack);
    plan.panelRows = plan.panels ? kPanelRows : plan.stacked ? kStackedRows : 0;
    plan.footRows = size.rows >= kRoomForFoot ? 2 : size.rows > kHeadRows ? 1 : 0;
    const std::size_t others = kHeadRows + plan.panelRows + plan.footRows;
    plan.countTableRows = size.rows > others ? size.rows - others : 0;
    return plan;
}

std::vector<Line> renderPanels(const RenderInput& input, const Size& size, const Plan& plan) {
    std::vector<Line> lines = renderPorts(input);
    const std::vector<Line> pair = renderPair(input);
    lines.insert(lines.end(), pair.begin(), pair.end());
    const std::size_t columns = size.columns - (plan.panels ? kSideColumns : 0);
    const std::vector<Line> voltages = renderVoltages(input, columns);
    if (plan.stacked) {
        lines.insert(lines.end(), voltages.begin(), voltages.end());
    }
    for (std::size_t row = 0; plan.panels && row < voltages.size(); ++row) {
        lines[row] = fitLine(lines[row], kSideColumns);
        append(lines[row], voltages[row]);
    }
    return lines;
}

// A row of the table: a heading, or a parameter.
struct Row {
    Line line;
    bool isParameter = false;
    bool isSelected = false;
};

// The visible rows, and the number of parameters above and below them.
struct Table {
    std::vector<Line> lines;
    std::ptrdiff_t above = 0;
    std::ptrdiff_t below = 0;
};

// The columns of the texts in a row, without the blank after the name.
struct RowColumns {
    std::size_t name;
    std::size_t value;
    std::size_t time;
};

std::size_t subtract(std::size_t columns, std::size_t others) {
    return columns > others ? columns - others : 0;
}

// `room` is for all of them; `name`, `value` and `time` are the widths of the texts. A value that
// cannot be whole is cut beside name and time if enough of it remains.
RowColumns divideRow(std::size_t room, std::size_t name, std::size_t value, std::size_t time) {
    const std::size_t ownName = std::min(name, kNameColumns);
    const std::size_t rest = subtract(room, kNameColumns + 1);
    if (value + time <= rest) {
        return {kNameColumns, rest - time, time};
    }
    if (value <= rest) {
        return {kNameColumns, rest, 0};
    }
    if (value + 1 + ownName <= room) {
        return {room - 1 - value, value, 0};
    }
    if (rest >= kMinCutColumns + time) {
        return {kNameColumns, rest - time, time};
    }
    return {ownName, subtract(room, ownName + 1), 0};
}

Line renderMarks(bool alarming, bool fresh) {
    const std::string change = fresh ? "*" : " ";
    return alarming ? Line{{"!", Style::bad}, {change, Style::changed}}
                    : Line{{" " + change, Style::changed}};
}

std::string renderLabel(const RenderInput& input, const client::Parameter& parameter) {
    return fit(showable(parameter.descriptor.label), kLabelColumns, input.charset) + " ";
}

Line renderParameter(const RenderInput& input, const client::Parameter& parameter,
                     const Size& size) {
    const std::string leaf = input.state.leafName(parameter);
    const auto changedAt = input.state.changedAt(parameter.descriptor.name);
    const bool fresh = isHighlighted(changedAt, input.now);
    const bool alarming = isAlarming(input.state, leaf, input.now);
    const bool labelled = size.columns >= kRoomForLabels;
    const std::string name = showable(leaf);
    const std::string value = displayValue(&parameter);
    const std::string time =
        changedAt ? formatTime(input.status.begin + *changedAt, input.now - *changedAt) : "";
    const RowColumns columns =
        divideRow(subtract(size.columns, kMarkColumns + (labelled ? kLabelColumns + 1 : 0)),
                  lineWidth(name), lineWidth(value), changedAt ? kTimeColumns : 0);
    Line line = renderMarks(alarming, fresh);
    line.push_back({fit(name, columns.name, input.charset) + " "});
    line.push_back({labelled ? renderLabel(input, parameter) : "", Style::dim});
    line.push_back({fit(value, columns.value, input.charset), alarming ? Style::bad
                                                              : fresh  ? Style::changed
                                                                       : Style::plain});
    line.push_back({columns.time > 0 ? alignRight(time, columns.time) : "", Style::dim});
    return line;
}

std::vector<Row> makeRows(const RenderInput& input, const Size& size) {
    std::vector<Row> rows;
    const client::Parameter* const selected = input.view.selected();
    for (const Section& section : input.view.sections()) {
        rows.push_back({{{" " + showable(section.title), Style::heading}}});
        for (const client::Parameter* parameter : section.parameters) {
            rows.push_back({renderParameter(input, *parameter, size), true, parameter == selected});
        }
    }
    return rows;
}

Line renderSelected(const Line& line, std::size_t columns) {
    std::string text;
    for (const Span& span : line) {
        text += span.text;
    }
    return fitLine({{text, Style::selected}}, columns, Style::selected);
}

// The rows around the selected one, which stays in the middle while there are rows to fill the
// table on both sides.
Table renderTable(const RenderInput& input, const Size& size, std::size_t room) {
    const std::vector<Row> rows = makeRows(input, size);
    const auto selected = std::ranges::find(rows, true, &Row::isSelected);
    const auto at = static_cast<std::size_t>(selected - rows.begin());
    const std::size_t last = rows.size() > room ? rows.size() - room : 0;
    const std::size_t first = std::min(at > room / 2 ? at - room / 2 : 0, last);
    const auto begin = rows.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = begin + static_cast<std::ptrdiff_t>(std::min(room, rows.size() - first));
    Table table;
    table.above = std::ranges::count(rows.begin(), begin, true, &Row::isParameter);
    table.below = std::ranges::count(end, rows.end(), true, &Row::isParameter);
    std::transform(begin, end, std::back_inserter(table.lines), [&](const Row& row) {
        return row.isSelected ? renderSelected(row.line, size.columns) : row.line;
    });
    return table;
}

// Adds the number of hidden parameters to the notice if there is room.
Line addHiddenCount(const Line& notice, const Table& table, std::size_t columns) {
    std::string text;
    if (table.above > 0) {
        text = std::to_string(table.above) + " above";
    }
    if (table.below > 0) {
        text += (text.empty() ? "" : ", ") + std::to_string(table.below) + " below";
    }
    const Line hidden{{text + " ", Style::dim}};
    return !text.empty() && lineWidth(notice) + lineWidth(hidden) < columns
               ? justify(notice, hidden, columns)
               : notice;
}

void addLines(ScreenContent& content, std::vector<Line> lines, std::size_t count) {
    lines.resize(count);
    content.lines.insert(content.lines.end(), std::make_move_iterator(lines.begin()),
                         std::make_move_iterator(lines.end()));
}

void addFoot(ScreenContent& content, const Footer& foot, const Plan& plan) {
    const bool asks = foot.cursor.has_value();
    if (plan.footRows == 2) {
        content.lines.push_back(foot.notice);
    }
    if (plan.footRows > 0) {
        content.lines.push_back(plan.footRows == 1 && !asks ? foot.notice : foot.keys);
        if (asks) {
            content.cursor = Place{content.lines.size() - 1, *foot.cursor};
        }
    }
}

}  // namespace

std::size_t countTableRows(const Size& size) {
    return makePlan(size).countTableRows;
}

ScreenContent renderScreen(const RenderInput& input, const Size& size) {
    const Plan plan = makePlan(size);
    ScreenContent content;
    content.lines.push_back(renderTitleBar(input, size.columns));
    Footer foot = renderFooter(input, size.columns);
    if (input.view.mode() == Mode::help) {
        addLines(content, renderHelp(input), plan.panelRows + plan.countTableRows);
    } else {
        if (plan.panelRows > 0) {
            addLines(content, renderPanels(input, size, plan), plan.panelRows);
        }
        Table table = renderTable(input, size, plan.countTableRows);
        foot.notice = addHiddenCount(foot.notice, table, size.columns);
        addLines(content, std::move(table.lines), plan.countTableRows);
    }
    addFoot(content, foot, plan);
    content.lines.resize(size.rows);
    for (Line& line : content.lines) {
        line = fitLine(line, size.columns);
    }
    return content;
}

}  // namespace pallctl::top
