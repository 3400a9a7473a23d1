// Each panel is a list of lines, made from the values and histories of a few parameters; the help
// is a table of keys.

#include "pallctl/top/panels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "client/format_value.h"
#include "pallctl/top/line_layout.h"
#include "systemstate/ethernet_ports.h"
#include "util/numbers.h"

namespace pallctl::top {

namespace {

using systemstate::PortStatus;

constexpr std::size_t kTitleColumns = 9;
constexpr std::size_t kValueColumns = 9;
constexpr std::size_t kRangeColumns = 14;
constexpr std::size_t kMaxGraphColumns = 60;
constexpr int kDecimals = 2;

std::string text(const RenderInput& input, const std::string& leaf) {
    return displayValue(input.state.find(leaf));
}

// The numeric value of the parameter, or -1.
double number(const RenderInput& input, const std::string& leaf) {
    const client::Parameter* const parameter = input.state.find(leaf);
    const bool holdsOne = parameter && cJSON_IsNumber(parameter->value.get());
    return holdsOne ? parameter->value->valuedouble : -1;
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
    const double status = number(input, leaf);
    const auto* const words = std::find_if(
        kPortWords.begin(), kPortWords.end(),
        [&](const PortWords& each) { return static_cast<double>(each.status) == status; });
    if (words == kPortWords.end()) {
        line.push_back({text(input, leaf), Style::dim});
    } else {
        const bool changed = hasChanged(input, leaf);
        line.push_back({words->text, changed ? Style::changed : words->style});
    }
    return line;
}

Line renderController(const RenderInput& input, const char* title, const std::string& prefix) {
    if (number(input, prefix + "Present") != 1) {
        return {renderTitle(title), {"not present", Style::dim}};
    }
    const bool active = number(input, prefix + "Active") == 1;
    return {renderTitle(title),
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

// A battery that has not been measured yet is below zero; a voltage that was only announced has no
// precision of its own.
std::string formatVoltage(const RenderInput& input, const Voltage& voltage) {
    const double volts = number(input, voltage.leaf);
    if (volts < 0) {
        return alignRight("-", kValueColumns) + "  ";
    }
    const int precision = input.state.find(voltage.leaf)->descriptor.precision;
    return alignRight(formatVolts(volts, precision < 0 ? kDecimals : precision) + " V",
                      kValueColumns) +
           "  ";
}

std::size_t countGraphColumns(std::size_t columns) {
    const std::size_t others = kTitleColumns + 2 + kValueColumns + 2 + kRangeColumns;
    return columns > others ? std::min(columns - others, kMaxGraphColumns) : 0;
}

Line renderVoltage(const RenderInput& input, std::size_t voltage, std::size_t columns) {
    const Voltage& what = kVoltages[voltage];
    const Style style = hasChanged(input, what.leaf) ? Style::changed : Style::plain;
    Line line{renderTitle(what.title), {formatVoltage(input, what), style}};
    const auto readings =
        input.state.history(voltage).lowest(input.now, countGraphColumns(columns));
    if (const auto scale = findScale(readings)) {
        line.push_back({sparkline(readings, *scale, input.charset), Style::graph});
        line.push_back({"  " + formatRange(*scale, input.charset), Style::dim});
    }
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
            renderPort(input, "Port 1", "ethPort1Status"),
            renderPort(input, "Port 2", "ethPort2Status")};
}

std::vector<Line> renderPair(const RenderInput& input) {
    return {{{" Redundant pair", Style::heading}},
            renderController(input, "Primary", "primary"),
            renderController(input, "Secondary", "secondary")};
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
    lines.push_back({{" A * and colour mark what changed in the last seconds. Any key goes back.",
                      Style::dim}});
    return lines;
}

}  // namespace pallctl::top
