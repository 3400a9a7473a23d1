#include "client/value_type.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

#include "cli/parse_number.h"
#include "client/descriptor.h"

namespace client {

namespace {

// Numbers of that size with and without a sign: addresses use all bits.
constexpr double kLeast16 = INT16_MIN;
constexpr double kMost16 = UINT16_MAX;
constexpr double kLeast32 = INT32_MIN;
constexpr double kMost32 = UINT32_MAX;

bool isWholeBetween(const cJSON* value, double least, double most) {
    return cJSON_IsNumber(value) && std::trunc(value->valuedouble) == value->valuedouble &&
           value->valuedouble >= least && value->valuedouble <= most;
}

bool isInt16(const cJSON* value) {
    return isWholeBetween(value, kLeast16, kMost16);
}

bool isInt32(const cJSON* value) {
    return isWholeBetween(value, kLeast32, kMost32);
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

util::UniqueJSON typedText(const std::string& text) {
    return util::jsonString(text);
}

constexpr ValueType kTypes[] = {
    {"INT16", isInt16, "a whole number of 16 bits", typedNumber},
    {"INT32", isInt32, "a whole number of 32 bits", typedNumber},
    {"FLOAT", isFloat, "a number", typedNumber},
    {"STRING", isText, "a text", typedText},
    {kStructureType, isStructure, "an object of its members", nullptr},
};

}  // namespace

const ValueType* valueType(const std::string& word) {
    const auto* const found =
        std::find_if(std::begin(kTypes), std::end(kTypes),
                     [&](const ValueType& each) { return word == each.word; });
    return found == std::end(kTypes) ? nullptr : found;
}

util::UniqueJSON typedNumber(const std::string& text) {
    const auto number = cli::parseNumber<double>(text);
    return number && std::isfinite(*number) ? util::jsonNumber(*number) : util::jsonString(text);
}

}  // namespace client
