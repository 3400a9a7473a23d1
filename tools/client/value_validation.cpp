#include "client/value_validation.h"

#include <algorithm>
#include <cstring>

#include "cli/escape.h"
#include "client/format_value.h"
#include "client/value_type.h"

namespace client {

namespace {

std::string typeObjection(const Descriptor& descriptor, const cJSON* value) {
    const ValueType* const type = valueType(descriptor.type);
    if (!type) {
        return "is of a type that cannot be set: " + cli::escapeForTerminal(descriptor.type);
    }
    return type->fits(value) ? "" : std::string("needs ") + type->need;
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
    return formatValue(descriptor, util::jsonNumber(number).get());
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
    const char* const text = util::jsonText(value);
    const int longest = descriptor.maxLength;
    return text && longest >= 0 && std::strlen(text) > static_cast<size_t>(longest)
               ? "needs a text of " + std::to_string(longest) + " bytes or less"
               : "";
}

std::string encodingObjection(const Descriptor&, const cJSON* value) {
    const char* const text = util::jsonText(value);
    return text && cli::validUTF8(text) != text ? "needs a text in UTF-8" : "";
}

// The first that has something to say is heard.
constexpr std::string (*kObjections[])(const Descriptor& descriptor, const cJSON* value) = {
    choiceObjection, typeObjection, rangeObjection, lengthObjection, encodingObjection};

}  // namespace

std::string validateValue(const Descriptor& descriptor, const cJSON* value) {
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

}  // namespace client
