#include "top/panels.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "client/human_form.h"
#include "model/numbers.h"
#include "systemstate/ethernet_interface_status.h"
#include "top/lines.h"

namespace top {

namespace {

constexpr std::size_t kTitleColumns = 9;
constexpr std::size_t kValueColumns = 9;
constexpr std::size_t kRangeColumns = 14;
constexpr std::size_t kWidestGraph = 60;
constexpr int kDecimals = 2;

std::string text(const Scene& scene, const std::string& leaf) {
    return valueOf(scene.board.find(leaf));
}

// The number that the parameter holds, -1 when it holds none.
double number(const Scene& scene, const std::string& leaf) {
    const pallctl::Parameter* const parameter = scene.board.find(leaf);
    const bool holdsOne = parameter && cJSON_IsNumber(parameter->value.get());
    return holdsOne ? parameter->value->valuedouble : -1;
}

bool hasChanged(const Scene& scene, const char* leaf) {
    const pallctl::Parameter* const parameter = scene.board.find(leaf);
    return parameter && isFresh(scene.board.changedAt(parameter->descriptor.name), scene.now);
}

Span titleCell(const std::string& title) {
    return {" " + fitted(title, kTitleColumns, Charset::unicode) + " "};
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

Line portLine(const Scene& scene, const std::string& title, const char* leaf) {
    Line line{titleCell(title)};
    const double status = number(scene, leaf);
    const auto* const words = std::find_if(
        kPortWords.begin(), kPortWords.end(),
        [&](const PortWords& each) { return static_cast<double>(each.status) == status; });
    if (words == kPortWords.end()) {
        line.push_back({text(scene, leaf), Style::dim});
    } else {
        const bool changed = hasChanged(scene, leaf);
        line.push_back({words->text, changed ? Style::changed : words->style});
    }
    return line;
}

Line controllerLine(const Scene& scene, const char* title, const std::string& prefix) {
    if (number(scene, prefix + "Present") != 1) {
        return {titleCell(title), {"not present", Style::dim}};
    }
    const bool active = number(scene, prefix + "Active") == 1;
    return {titleCell(title),
            {active ? "active   " : "standby  ", active ? Style::good : Style::plain},
            {text(scene, prefix + "Version") + "  " + text(scene, prefix + "IPAddress")}};
}

std::string decimals(double volts, int precision) {
    pallctl::Descriptor descriptor;
    descriptor.type = "FLOAT";
    descriptor.precision = precision;
    return pallctl::humanForm(descriptor, jsonNumber(volts).get());
}

std::string rangeText(const Scale& scale, Charset charset) {
    return decimals(scale.low, kDecimals) + (charset == Charset::unicode ? "…" : "..") +
           decimals(scale.high, kDecimals);
}

// A battery that has not been measured yet reads below zero; a voltage that was only ever announced
// has no precision of its own.
std::string voltsText(const Scene& scene, const Voltage& voltage) {
    const double volts = number(scene, voltage.leaf);
    if (volts < 0) {
        return rightAligned("-", kValueColumns) + "  ";
    }
    const int precision = scene.board.find(voltage.leaf)->descriptor.precision;
    return rightAligned(decimals(volts, precision < 0 ? kDecimals : precision) + " V",
                        kValueColumns) +
           "  ";
}

std::size_t graphColumns(std::size_t columns) {
    const std::size_t others = kTitleColumns + 2 + kValueColumns + 2 + kRangeColumns;
    return columns > others ? std::min(columns - others, kWidestGraph) : 0;
}

Line voltageLine(const Scene& scene, std::size_t voltage, std::size_t columns) {
    const Voltage& what = kVoltages[voltage];
    const Style style = hasChanged(scene, what.leaf) ? Style::changed : Style::plain;
    Line line{titleCell(what.title), {voltsText(scene, what), style}};
    const auto readings = scene.board.history(voltage).lowest(scene.now, graphColumns(columns));
    if (const auto scale = scaleOf(readings)) {
        line.push_back({sparkline(readings, *scale, scene.charset), Style::graph});
        line.push_back({"  " + rangeText(*scale, scene.charset), Style::dim});
    }
    return line;
}

}  // namespace

std::vector<Line> portsPanel(const Scene& scene) {
    return {{{" Ethernet ports", Style::heading}},
            portLine(scene, "Port 1", "ethPort1Status"),
            portLine(scene, "Port 2", "ethPort2Status")};
}

std::vector<Line> pairPanel(const Scene& scene) {
    return {{{" Redundant pair", Style::heading}},
            controllerLine(scene, "Primary", "primary"),
            controllerLine(scene, "Secondary", "secondary")};
}

std::vector<Line> voltagesPanel(const Scene& scene, std::size_t columns) {
    std::vector<Line> lines{
        {{" Voltages, the last " + std::to_string(kGraphSpan.count()) + " minutes",
          Style::heading}}};
    for (std::size_t voltage = 0; voltage < kVoltages.size(); ++voltage) {
        lines.push_back(voltageLine(scene, voltage, columns));
    }
    return lines;
}

}  // namespace top
