#include "client/format_value.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "cli/escape.h"
#include "cli/parse_number.h"
#include "util/numbers.h"

namespace client {

namespace {

constexpr double kMaxAddress = 4294967295.0;
constexpr int kMaxDecimals = 17;  // a double has no more

// With a precision below 0 the shortest text that reads back as the same number.
std::string formatDecimal(double number, int precision) {
    std::array<char, 400> text;  // the largest double has 309 digits before the point
    char* const end = text.data() + text.size();
    const auto result = precision < 0
                            ? std::to_chars(text.data(), end, number)
                            : std::to_chars(text.data(), end, number, std::chars_format::fixed,
                                            std::min(precision, kMaxDecimals));
    return {text.data(), result.ptr};
}

std::string formatAddress(double number) {
    const in_addr address{htonl(util::saturatedUInt32(number))};
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address, text.data(), text.size());
    return text.data();
}

const Choice* findChoice(const Descriptor& descriptor, double number) {
    const auto& choices = descriptor.choices;
    const auto found = std::ranges::find(
        choices, number, [](const Choice& each) { return static_cast<double>(each.value); });
    return found == choices.end() ? nullptr : &*found;
}

std::string formatNumber(const Descriptor& descriptor, double number) {
    if (const Choice* choice = findChoice(descriptor, number)) {
        return cli::escapeForTerminal(choice->name);
    }
    if (descriptor.type == "FLOAT") {
        return formatDecimal(number, descriptor.precision);
    }
    if (std::trunc(number) != number) {
        return formatDecimal(number, -1);
    }
    if (isAddress(descriptor) && number >= 0 && number <= kMaxAddress) {
        return formatAddress(number);
    }
    return formatDecimal(number + 0.0, 0);  // never "-0"
}

std::string formatStructure(const cJSON* structure) {
    std::string text;
    for (const Parameter& member : decodeMembers(structure)) {
        text += text.empty() ? "" : kMemberGap;
        text += cli::escapeForTerminal(member.descriptor.name) + "=";
        text += formatValue(member.descriptor, member.value.get());
    }
    return text;
}

}  // namespace

std::string formatValue(const Descriptor& descriptor, const cJSON* value) {
    if (!value || cJSON_IsNull(value)) {
        return "-";
    }
    if (cJSON_IsNumber(value)) {
        return formatNumber(descriptor, value->valuedouble);
    }
    if (const char* text = util::jsonText(value)) {
        return cli::escapeForTerminal(text);
    }
    if (descriptor.type == kStructureType && cJSON_IsObject(value)) {
        return formatStructure(value);
    }
    return cli::escapeForTerminal(util::renderJSON(value, false));
}

double roundAsShown(const Descriptor& descriptor, double number) {
    return descriptor.type == "FLOAT"
               ? cli::parseNumber<double>(formatNumber(descriptor, number)).value_or(number)
               : number;
}

std::string choiceNames(const Descriptor& descriptor) {
    std::string names;
    for (const Choice& choice : descriptor.choices) {
        names += (names.empty() ? "" : ", ") + cli::escapeForTerminal(choice.name);
    }
    return names;
}

}  // namespace client
