// Each panel is a list of lines, made from the values and histories of a few parameters; the help
// is a table of keys. A value outside its usual range has a mark and a colour, so that it is also
// seen where there is no colour.

#include "pallctl/top/panels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "client/format_value.h"
#include "pallctl/top/alarms.h"
#include "pallctl/top/line_layout.h"
#include "systemstate/ethernet_ports.h"
#include "util/numbers.h"

namespace pallctl::top {

namespace {

using systemstate::PortStatus;

constexpr std::size_t kTitleColumns = 9;
constexpr std::size_t kValueColumns = 9;
constexpr std::size_t kRangeColumns = 14;
constexpr std::size_t kRangeEnd = kTitleColumns + 2 + kValueColumns + 2 + kRangeColumns;
constexpr std::size_t kMinGraphColumns = 4;
constexpr std::size_t kMaxGraphColumns = 60;
constexpr int kDecimals = 2;

std::string text(const RenderInput& input, const std::string& leaf) {
    return displayValue(input.state.find(leaf));
}

bool isText(const RenderInput& input, const std::string& leaf) {
    const client::Parameter* const parameter = input.state.find(leaf);
    const char* const text = parameter ? cJSON_GetStringValue(parameter->value.get()) : nullptr;
    return text && *text != '\0';
}

bool hasChanged(const RenderInput& input, const char* leaf) {
    const client::Parameter* const parameter = input.state.find(leaf);
    return parameter && isHighlighted(input.state.changedAt(parameter->descriptor.name), input.now);
}

Span renderTitle(const std::string& title) {
    return {" " + fit(title, kTitleColumns, Charset::unicode) + " "};
}

struct PortWords {
    PortStatus status;
    const char* text;
    Style style;
};
constexpr std::array<PortWords, 4> kPortWords{
    {{PortStatus::linkDown, "link down", Style::bad},
     {PortStatus::active, "link up, active", Style::good},
     {PortStatus::linkUp, "link up", Style::plain},
     {PortStatus::other, "neither up nor down", Style::bad}}};

Line renderPort(const RenderInput& input, const std::string& title, const char* leaf) {
    Line line{renderTitle(title)};
    const Reading status = input.state.number(leaf);
    const auto* const words = std::find_if(
        kPortWords.begin(), kPortWords.end(),
        [&](const PortWords& each) { return static_cast<double>(each.status) == status; });
    if (status && !input.state.isMeasured(leaf, input.now)) {
        line.push_back({"not measured", Style::dim});
    } else if (words == kPortWords.end()) {
        line.push_back({text(input, leaf), Style::dim});
    } else {
        const bool changed = hasChanged(input, leaf);
        line.push_back({words->text, changed ? Style::changed : words->style});
    }
    return line;
}

struct Controller {
    const char* title;
    const char* prefix;  // of the names of its parameters
};
constexpr std::array<Controller, 2> kControllers{
    {{"Primary", "primary"}, {"Secondary", "secondary"}}};

// The card itself is one of the pair, so a pair of which nothing is known has not been reported.
bool isPairKnown(const RenderInput& input) {
    return std::ranges::any_of(kControllers, [&](const Controller& each) {
        const std::string prefix = each.prefix;
        return input.state.number(prefix + "Present") == 1 ||
               input.state.number(prefix + "Active") == 1 || isText(input, prefix + "IPAddress") ||
               isText(input, prefix + "Version");
    });
}

Line renderController(const RenderInput& input, const Controller& controller) {
    const std::string prefix = controller.prefix;
    if (!isPairKnown(input)) {
        return {renderTitle(controller.title), {"unknown", Style::dim}};
    }
    if (input.state.number(prefix + "Present") != 1) {
        return {renderTitle(controller.title), {"not present", Style::dim}};
    }
    const bool active = input.state.number(prefix + "Active") == 1;
    return {renderTitle(controller.title),
            {active ? "active   " : "standby  ", active ? Style::good : Style::plain},
            {text(input, prefix + "Version") + "  " + text(input, prefix + "IPAddress")}};
}

std::string formatVolts(double volts, int precision) {
    client::Descriptor descriptor;
    descriptor.type = "FLOAT";
    descriptor.precision = precision;
    return client::formatValue(descriptor, util::jsonNumber(volts).get());
}

std::string formatRange(const Scale& scale, Charset charset) {
    return formatVolts(scale.low, kDecimals) + (charset == Charset::unicode ? "…" : "..") +
           formatVolts(scale.high, kDecimals);
}

// A voltage that was only announced has no precision of its own.
std::string formatVoltage(const RenderInput& input, const Voltage& voltage) {
    if (!input.state.isMeasured(voltage.leaf, input.now)) {
        return alignRight("-", kValueColumns) + "  ";
    }
    const client::Parameter& parameter = *input.state.find(voltage.leaf);
    const int precision = parameter.descriptor.precision;
    return alignRight(
               formatVolts(parameter.value->valuedouble, precision < 0 ? kDecimals : precision) +
                   " V",
               kValueColumns) +
           "  ";
}

std::size_t countGraphColumns(std::size_t columns) {
    return columns >= kRangeEnd + kMinGraphColumns ? std::min(columns - kRangeEnd, kMaxGraphColumns)
                                                   : 0;
}

// The part of the line before the value.
Line renderVoltageTitle(const char* title, bool alarming) {
    return alarming
               ? Line{{" " + fit(title, kTitleColumns - 1, Charset::unicode)}, {"! ", Style::bad}}
               : Line{renderTitle(title)};
}

// Columns with a reading outside the usual range are in the colour of an alarm.
Line renderGraph(const RenderInput& input, const char* leaf, const std::vector<Reading>& readings,
                 const Scale& scale) {
    const auto isAlarm = [&](const Reading& reading) {
        return reading && isUnusual(input.state, leaf, *reading);
    };
    Line line;
    for (auto begin = readings.begin(); begin != readings.end();) {
        const bool alarm = isAlarm(*begin);
        const auto end = std::find_if(begin, readings.end(), [&](const Reading& reading) {
            return isAlarm(reading) != alarm;
        });
        line.push_back(
            {sparkline({begin, end}, scale, input.charset), alarm ? Style::bad : Style::graph});
        begin = end;
    }
    return line;
}

// The range is that of all readings in the time of the graph, which shows only the lowest of each
// of its columns.
void appendGraph(Line& line, const RenderInput& input, std::size_t voltage, std::size_t columns) {
    const History& history = input.state.history(voltage);
    const std::size_t graphColumns = countGraphColumns(columns);
    const auto scale = findScale(history.all(input.now, graphColumns));
    if (scale && columns >= kRangeEnd) {
        append(line, renderGraph(input, kVoltages[voltage].leaf,
                                 history.lowest(input.now, graphColumns), *scale));
        line.push_back(
            {(graphColumns > 0 ? "  " : "") + formatRange(*scale, input.charset), Style::dim});
    }
}

Line renderVoltage(const RenderInput& input, std::size_t voltage, std::size_t columns) {
    const Voltage& what = kVoltages[voltage];
    const bool alarming = isAlarming(input.state, what.leaf, input.now);
    const bool changed = hasChanged(input, what.leaf);
    Line line = renderVoltageTitle(what.title, alarming);
    line.push_back({formatVoltage(input, what), alarming  ? Style::bad
                                                : changed ? Style::changed
                                                          : Style::plain});
    appendGraph(line, input, voltage, columns);
    return line;
}

struct HelpRow {
    const char* keys;
    const char* meaning;
};

constexpr HelpRow kEverywhere[] = {
    {"q, Ctrl-C", "quit"},
    {"up down, k j", "select a parameter"},
    {"PgUp PgDn", "a page up or down"},
    {"Home End, g G", "first, last"},
    {"/ text", "search names, labels and values"},
    {"n N", "next, previous match"},
    {"f text", "show only what matches; Esc shows all again"},
    {"Ctrl-L", "redraw the screen"},
};
constexpr HelpRow kOfDevice[] = {
    {"Enter", "set the selected parameter, after a question"},
    {"r", "start or stop recording the bus"},
};
constexpr HelpRow kOfRecording[] = {
    {"space", "pause, continue"},
    {"+ -", "faster, slower"},
    {"left right", "10 seconds back, ahead"},
    {"0", "from the beginning"},
};

constexpr std::size_t kKeyColumns = 16;

template <std::size_t count>
void addRows(std::vector<Line>& lines, const HelpRow (&rows)[count]) {
    for (const HelpRow& row : rows) {
        lines.push_back(
            {{"  " + fit(row.keys, kKeyColumns, Charset::ascii), Style::prompt}, {row.meaning}});
    }
}

}  // namespace

std::vector<Line> renderPorts(const RenderInput& input) {
    return {{{" Ethernet ports", Style::heading}},
            renderPort(input, "Port 1", kPorts[0]),
            renderPort(input, "Port 2", kPorts[1])};
}

std::vector<Line> renderPair(const RenderInput& input) {
    return {{{" Redundant pair", Style::heading}},
            renderController(input, kControllers[0]),
            renderController(input, kControllers[1])};
}

std::vector<Line> renderVoltages(const RenderInput& input, std::size_t columns) {
    std::vector<Line> lines{
        {{" Voltages, the last " + std::to_string(kGraphSpan.count()) + " minutes",
          Style::heading}}};
    for (std::size_t voltage = 0; voltage < kVoltages.size(); ++voltage) {
        lines.push_back(renderVoltage(input, voltage, columns));
    }
    return lines;
}

std::vector<Line> renderHelp(const RenderInput& input) {
    std::vector<Line> lines{{{" Keys", Style::heading}}};
    addRows(lines, kEverywhere);
    if (input.view.sourceKind() == SourceKind::device) {
        addRows(lines, kOfDevice);
    } else {
        addRows(lines, kOfRecording);
    }
    lines.push_back({{" ! marks a reading outside its usual range, * a change in the last seconds.",
                      Style::dim}});
    lines.push_back({{" Any key goes back.", Style::dim}});
    return lines;
}

}  // namespace pallctl::top
