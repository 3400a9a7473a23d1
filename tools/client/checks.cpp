#include "client/checks.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "client/human_form.h"
#include "client/safe_text.h"

namespace pallctl {

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
    return jsonText(value) != nullptr;
}

bool isStructure(const cJSON* value) {
    return cJSON_IsObject(value);
}

struct TypeRow {
    const char* type;
    bool (*fits)(const cJSON* value);
    const char* need;
};

constexpr TypeRow kTypes[] = {
    {"INT16", isInt16, "a whole number of 16 bits"},
    {"INT32", isInt32, "a whole number of 32 bits"},
    {"FLOAT", isFloat, "a number"},
    {"STRING", isText, "a text"},
    {"STRUCT", isStructure, "an object of its members"},
};

std::string typeObjection(const Descriptor& descriptor, const cJSON* value) {
    for (const TypeRow& row : kTypes) {
        if (descriptor.type == row.type) {
            return row.fits(value) ? "" : std::string("needs ") + row.need;
        }
    }
    return "is of a type that cannot be set: " + printable(descriptor.type);
}

bool isChoice(const Descriptor& descriptor, const cJSON* value) {
    return cJSON_IsNumber(value) &&
           std::any_of(descriptor.choices.begin(), descriptor.choices.end(), [&](const auto& each) {
               return static_cast<double>(each.value) == value->valuedouble;
           });
}

std::string choiceObjection(const Descriptor& descriptor, const cJSON* value) {
    return descriptor.choices.empty() || isChoice(descriptor, value)
               ? ""
               : "needs one of: " + choiceNames(descriptor);
}

std::string shown(const Descriptor& descriptor, double number) {
    return humanForm(descriptor, jsonNumber(number).get());
}

std::string rangeObjection(const Descriptor& descriptor, const cJSON* value) {
    if (!cJSON_IsNumber(value)) {
        return "";
    }
    if (descriptor.least && value->valuedouble < *descriptor.least) {
        return "needs " + shown(descriptor, *descriptor.least) + " or more";
    }
    if (descriptor.most && value->valuedouble > *descriptor.most) {
        return "needs " + shown(descriptor, *descriptor.most) + " or less";
    }
    return "";
}

std::string lengthObjection(const Descriptor& descriptor, const cJSON* value) {
    const char* const text = jsonText(value);
    const int longest = descriptor.maxLength;
    return text && longest >= 0 && std::strlen(text) > static_cast<size_t>(longest)
               ? "needs a text of " + std::to_string(longest) + " bytes or less"
               : "";
}

std::string encodingObjection(const Descriptor&, const cJSON* value) {
    const char* const text = jsonText(value);
    return text && validUTF8(text) != text ? "needs a text in UTF-8" : "";
}

// The first that has something to say is heard.
constexpr std::string (*kObjections[])(const Descriptor& descriptor, const cJSON* value) = {
    choiceObjection, typeObjection, rangeObjection, lengthObjection, encodingObjection};

}  // namespace

std::string objection(const Descriptor& descriptor, const cJSON* value) {
    if (descriptor.type.empty()) {
        return "";
    }
    for (const auto objectionOf : kObjections) {
        if (std::string problem = objectionOf(descriptor, value); !problem.empty()) {
            return problem;
        }
    }
    return "";
}

}  // namespace pallctl
