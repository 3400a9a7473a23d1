// A table has the types of values that can be set. A value is checked against its descriptor by one
// function after another; the first error counts.

#include "client/value_validation.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "cli/escape.h"
#include "cli/parse_number.h"
#include "client/format_value.h"

namespace client {

namespace {

// Numbers of that size with and without a sign: addresses use all bits.
constexpr double kMin16 = INT16_MIN;
constexpr double kMax16 = UINT16_MAX;
constexpr double kMin32 = INT32_MIN;
constexpr double kMax32 = UINT32_MAX;

bool isWholeBetween(const cJSON* value, double min, double max) {
    return cJSON_IsNumber(value) && std::trunc(value->valuedouble) == value->valuedouble &&
           value->valuedouble >= min && value->valuedouble <= max;
}

bool isInt16(const cJSON* value) {
    return isWholeBetween(value, kMin16, kMax16);
}

bool isInt32(const cJSON* value) {
    return isWholeBetween(value, kMin32, kMax32);
}

bool isFloat(const cJSON* value) {
    return cJSON_IsNumber(value) && std::isfinite(value->valuedouble);
}

bool isText(const cJSON* value) {
    return util::jsonText(value) != nullptr;
}

bool isStructure(const cJSON* value) {
    return cJSON_IsObject(value);
}

util::UniqueJSON parseText(const std::string& text) {
    return util::jsonString(text);
}

constexpr ValueType kTypes[] = {
    {"INT16", isInt16, "a 16-bit integer", parseNumberOrText},
    {"INT32", isInt32, "a 32-bit integer", parseNumberOrText},
    {"FLOAT", isFloat, "a number", parseNumberOrText},
    {"STRING", isText, "a text", parseText},
    {kStructureType, isStructure, "an object of its members", nullptr},
};

std::string checkType(const Descriptor& descriptor, const cJSON* value) {
    const ValueType* const type = findValueType(descriptor.type);
    if (!type) {
        return "is of a type that cannot be set: " + cli::escapeForTerminal(descriptor.type);
    }
    return type->fits(value) ? "" : std::string("must be ") + type->valid;
}

bool isChoice(const Descriptor& descriptor, const cJSON* value) {
    return cJSON_IsNumber(value) &&
           std::ranges::any_of(descriptor.choices, [&](const Choice& each) {
               return static_cast<double>(each.value) == value->valuedouble;
           });
}

std::string checkChoice(const Descriptor& descriptor, const cJSON* value) {
    return descriptor.choices.empty() || isChoice(descriptor, value)
               ? ""
               : "must be one of: " + choiceNames(descriptor);
}

std::string formatLimit(const Descriptor& descriptor, double number) {
    return formatValue(descriptor, util::jsonNumber(number).get());
}

std::string checkRange(const Descriptor& descriptor, const cJSON* value) {
    if (!cJSON_IsNumber(value)) {
        return "";
    }
    if (descriptor.minimum && value->valuedouble < *descriptor.minimum) {
        return "must be " + formatLimit(descriptor, *descriptor.minimum) + " or more";
    }
    if (descriptor.maximum && value->valuedouble > *descriptor.maximum) {
        return "must be " + formatLimit(descriptor, *descriptor.maximum) + " or less";
    }
    return "";
}

std::string checkLength(const Descriptor& descriptor, const cJSON* value) {
    const char* const text = util::jsonText(value);
    const int maxLength = descriptor.maxLength;
    return text && maxLength >= 0 && std::strlen(text) > static_cast<size_t>(maxLength)
               ? "must be a text of at most " + std::to_string(maxLength) + " bytes"
               : "";
}

std::string checkEncoding(const Descriptor&, const cJSON* value) {
    const char* const text = util::jsonText(value);
    return text && cli::validUTF8(text) != text ? "must be a text in UTF-8" : "";
}

constexpr std::string (*kChecks[])(const Descriptor& descriptor, const cJSON* value) = {
    checkChoice, checkType, checkRange, checkLength, checkEncoding};

}  // namespace

const ValueType* findValueType(const std::string& word) {
    const auto* const found = std::ranges::find(kTypes, word, &ValueType::word);
    return found == std::end(kTypes) ? nullptr : found;
}

util::UniqueJSON parseNumberOrText(const std::string& text) {
    const auto number = cli::parseNumber<double>(text);
    return number && std::isfinite(*number) ? util::jsonNumber(*number) : util::jsonString(text);
}

std::string validateValue(const Descriptor& descriptor, const cJSON* value) {
    if (descriptor.type.empty()) {
        return "";
    }
    for (const auto check : kChecks) {
        if (std::string problem = check(descriptor, value); !problem.empty()) {
            return problem;
        }
    }
    return "";
}

}  // namespace client
