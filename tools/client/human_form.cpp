#include "client/human_form.h"

#include <arpa/inet.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>

#include "client/safe_text.h"
#include "model/numbers.h"

namespace pallctl {

namespace {

constexpr double kLargestAddress = 4294967295.0;
constexpr const char* kAddressWidget = "WIDGET_IP_ADDRESS";
constexpr int kMostDecimals = 17;  // a double says nothing beyond

// With a precision below 0 the shortest text that reads back as the same number.
std::string decimal(double number, int precision) {
    std::array<char, 400> text;  // the largest double has 309 digits before the point
    char* const end = text.data() + text.size();
    const auto result = precision < 0
                            ? std::to_chars(text.data(), end, number)
                            : std::to_chars(text.data(), end, number, std::chars_format::fixed,
                                            std::min(precision, kMostDecimals));
    return {text.data(), result.ptr};
}

std::string dotted(double number) {
    const in_addr address{htonl(saturatedUInt32(number))};
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &address, text.data(), text.size());
    return text.data();
}

std::string humanNumber(const Descriptor& descriptor, double number) {
    if (descriptor.type == "FLOAT") {
        return decimal(number, descriptor.precision);
    }
    if (std::trunc(number) != number) {
        return decimal(number, -1);
    }
    for (const Choice& choice : descriptor.choices) {
        if (choice.value == saturatedInt64(number)) {
            return printable(choice.name);
        }
    }
    if (descriptor.widget == kAddressWidget && number >= 0 && number <= kLargestAddress) {
        return dotted(number);
    }
    return decimal(number, 0);
}

std::string humanStructure(const cJSON* structure) {
    std::string text;
    for (const Parameter& member : decodeMembers(structure)) {
        text += text.empty() ? "" : ", ";
        text += printable(member.descriptor.name) + "=";
        text += humanForm(member.descriptor, member.value.get());
    }
    return text;
}

template <typename Number>
std::optional<Number> wholeNumber(const std::string& text) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc{} || result.ptr != end) {
        return std::nullopt;
    }
    return number;
}

WireForm problem(std::string text) {
    return {nullptr, std::move(text)};
}

WireForm integerForm(const std::string& text) {
    const auto number = wholeNumber<int64_t>(text);
    if (!number || *number < INT32_MIN || *number > int64_t{UINT32_MAX}) {
        return problem("needs a whole number of 32 bits");
    }
    return {jsonNumber(static_cast<double>(*number)), ""};
}

WireForm floatForm(const std::string& text) {
    const auto number = wholeNumber<double>(text);
    if (!number || !std::isfinite(*number)) {
        return problem("needs a number");
    }
    return {jsonNumber(*number), ""};
}

WireForm textForm(const std::string& text) {
    return {jsonString(text), ""};
}

WireForm addressForm(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) == 1) {
        return {jsonNumber(ntohl(address.s_addr)), ""};
    }
    if (const auto number = wholeNumber<uint32_t>(text)) {
        return {jsonNumber(*number), ""};
    }
    return problem("needs an address such as 10.1.2.3");
}

WireForm choiceForm(const std::vector<Choice>& choices, const std::string& text) {
    const auto number = wholeNumber<int64_t>(text);
    std::string names;
    for (const Choice& choice : choices) {
        if (strcasecmp(choice.name.c_str(), text.c_str()) == 0 || choice.value == number) {
            return {jsonNumber(static_cast<double>(choice.value)), ""};
        }
        names += (names.empty() ? "" : ", ") + printable(choice.name);
    }
    return problem("needs one of: " + names);
}

struct TypeRow {
    const char* type;
    WireForm (*form)(const std::string& text);
};

constexpr TypeRow kTypes[] = {
    {"INT16", integerForm}, {"INT32", integerForm}, {"FLOAT", floatForm}, {"STRING", textForm}};

}  // namespace

std::string humanForm(const Descriptor& descriptor, const cJSON* value) {
    if (!value || cJSON_IsNull(value)) {
        return "-";
    }
    if (cJSON_IsNumber(value)) {
        return humanNumber(descriptor, value->valuedouble);
    }
    if (const char* text = jsonText(value)) {
        return printable(text);
    }
    if (descriptor.type == "STRUCT" && cJSON_IsObject(value)) {
        return humanStructure(value);
    }
    return printable(renderJSON(value, false));
}

WireForm wireForm(const Descriptor& descriptor, const std::string& text) {
    if (!descriptor.choices.empty()) {
        return choiceForm(descriptor.choices, text);
    }
    if (descriptor.widget == kAddressWidget) {
        return addressForm(text);
    }
    const auto* row = std::find_if(std::begin(kTypes), std::end(kTypes), [&](const TypeRow& each) {
        return descriptor.type == each.type;
    });
    return row != std::end(kTypes) ? row->form(text)
                                   : problem("cannot be set from a text: " + descriptor.type);
}

UniqueJSON plainWireForm(const std::string& text) {
    if (text == "true" || text == "false") {
        return jsonBool(text == "true");
    }
    WireForm number = floatForm(text);
    return number.value ? std::move(number.value) : jsonString(text);
}

}  // namespace pallctl
