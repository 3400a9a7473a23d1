// Prints doc/parameters.md from the daemon's own catalogue.

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <span>
#include <string>

#include "model/tosk_type_names.h"
#include "systemstate/catalogue.h"
#include "systemstate/limits.h"
#include "systemstate/serial_port.h"

namespace {

using systemstate::CatalogueRow;

// What a set of the parameter does.
std::string effect(const CatalogueRow& row) {
    const bool saved = row.storage == systemstate::Storage::published;
    if (row.reaction == nullptr) {
        return saved ? "announced and saved" : "announced, nothing else";
    }
    return std::string(row.reaction->effect) + (saved ? "; saved" : "");
}

std::string changedBy(const CatalogueRow& row) {
    const std::string other = row.changedBy == nullptr ? "" : row.changedBy;
    if (row.access == systemstate::Access::readonly) {
        return other.empty() ? "nothing" : other;
    }
    return other.empty() ? "a set" : "a set; " + other;
}

std::string startsAs(const CatalogueRow& row) {
    if (row.startsAs != nullptr) {
        return row.startsAs;
    }
    return row.type == model::kTypeString ? "empty" : row.type == model::kTypeFloat ? "0.0" : "0";
}

std::string choices(const CatalogueRow& row) {
    std::string text;
    for (size_t value = 0; value < row.choices.size(); ++value) {
        text += (value == 0 ? "" : ", ") + std::to_string(value) + " " + row.choices[value];
    }
    return text;
}

std::string form(const CatalogueRow& row) {
    if (std::strcmp(row.widget, "WIDGET_IP_ADDRESS") == 0) {
        return "address, first octet in the top byte";
    }
    return row.precision >= 0 ? std::to_string(row.precision) + " decimals" : choices(row);
}

void printGroup(const char* title, std::span<const CatalogueRow> rows) {
    std::printf("\n## %s\n\n", title);
    std::printf(
        "| parameter | label | type | values | access | saved | starts as | a set | changed by "
        "|\n");
    std::printf("|---|---|---|---|---|---|---|---|---|\n");
    for (const CatalogueRow& row : rows) {
        std::printf("| `%s` | %s | %s | %s | %s | %s | %s | %s | %s |\n", row.key, row.name,
                    valueTypeName(row.type), form(row).c_str(),
                    row.access == systemstate::Access::readonly ? "read-only" : "writable",
                    row.storage == systemstate::Storage::published ? "yes" : "no",
                    startsAs(row).c_str(), effect(row).c_str(), changedBy(row).c_str());
    }
}

std::string formatLimit(double limit) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", limit);
    return text.data();
}

// No range has an upper end only.
std::string formatRange(const systemstate::Range& range) {
    const bool hasLow = std::isfinite(range.low);
    const bool hasHigh = std::isfinite(range.high);
    if (!hasLow || !hasHigh) {
        return hasLow ? formatLimit(range.low) + " or more" : "any";
    }
    return formatLimit(range.low) + " to " + formatLimit(range.high);
}

void printLimits() {
    std::puts(
        "\n## Limits\n\n"
        "The daemon publishes no limits. The tools judge its readings by these: a value outside "
        "the "
        "usual range\n"
        "deserves a warning, a value outside the tolerated range is critical (`pallctl describe`, "
        "`pallctl check`).\n\n"
        "| parameter | unit | usual | tolerated | from |\n|---|---|---|---|---|");
    for (const CatalogueRow& row : systemstate::catalogue()) {
        if (const systemstate::Limits* const limits = systemstate::findLimits(row)) {
            std::printf("| `%s` | %s | %s | %s | %s |\n", row.key, limits->unit,
                        formatRange(limits->usual).c_str(), formatRange(limits->tolerated).c_str(),
                        limits->source);
        }
    }
}

}  // namespace

int main() {
    std::puts(
        "# Parameters\n\n"
        "Printed from the catalogue by `parameters_page`; a test compares the two. After a change "
        "of the\n"
        "catalogue: `build/default/bin/parameters_page > doc/parameters.md`.\n\n"
        "Every set is announced, whether the value changes or not, and read-only describes what "
        "clients\n"
        "should offer: the daemon carries out what it is sent. Saved parameters are written to the "
        "state file\n"
        "with every set of one of them, come back after a restart, and are the ones that the whole "
        "device's\n"
        "descriptor shows; every other parameter is there when it is asked for by name.");
    printGroup("Identity", systemstate::rowsBuiltBy(systemstate::Builder::identityGroup));
    printGroup("Machine", systemstate::rowsBuiltBy(systemstate::Builder::mainCatalogue));
    std::puts(
        "\nA port's status is 0 without a link, 1 while it carries the traffic, 2 while it has a "
        "link "
        "and waits, 3 for\n"
        "anything else that the driver says. Supplies are smoothed: each second a quarter of the "
        "way to "
        "what was read.\n"
        "The battery is not; below 2 V it is 0.");
    printLimits();
    std::puts(
        "\n## Serial ports\n\n"
        "Structs with the texts `name`, `dev` and `connectionPoint`; a set of `_d_connectionPoint` "
        "is kept as\n"
        "the port's connection point.\n\n"
        "| parameter | label | device |\n|---|---|---|");
    for (const systemstate::SerialPort& port : systemstate::makeSerialPorts()) {
        std::printf("| `%s` | %s | %s |\n", port.oid.c_str(), port.label.c_str(),
                    port.device.c_str());
    }
}
