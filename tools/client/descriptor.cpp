#include "client/descriptor.h"

#include <string_view>

#include "util/json_fields.h"
#include "util/numbers.h"

namespace client {

namespace {

constexpr const char* kAddressWidget = "WIDGET_IP_ADDRESS";
constexpr const char* kAddressType = "INT32";

std::vector<Choice> decodeChoices(const cJSON* constraint) {
    std::vector<Choice> choices;
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, util::jsonMember(constraint, "choices")) {
        const cJSON* value = util::jsonMember(item, "value");
        const char* name = util::jsonText(util::jsonMember(item, "name"));
        if (name && cJSON_IsNumber(value)) {
            choices.push_back({util::saturatedInt64(value->valuedouble), name});
        }
    }
    return choices;
}

std::optional<double> decodeLimit(const cJSON* constraint, const char* key) {
    const cJSON* limit = util::jsonMember(constraint, key);
    return cJSON_IsNumber(limit) ? std::optional(limit->valuedouble) : std::nullopt;
}

void decodeConstraint(const cJSON* constraint, Descriptor& descriptor) {
    util::readField(constraint, "type", descriptor.constraint);
    descriptor.choices = decodeChoices(constraint);
    descriptor.minimum = decodeLimit(constraint, "min");
    descriptor.maximum = decodeLimit(constraint, "max");
    descriptor.step = decodeLimit(constraint, "step");
}

Parameter decodeUnnamed(const cJSON* item) {
    Parameter parameter;
    Descriptor& descriptor = parameter.descriptor;
    util::readField(item, "name", descriptor.label);
    util::readField(item, "type", descriptor.type);
    util::readLenientBool(item, "readonly", descriptor.readOnly);
    util::readField(item, "widget", descriptor.widget);
    util::readField(item, "precision", descriptor.precision);
    util::readField(item, "maxlength", descriptor.maxLength);
    util::readField(item, "totallength", descriptor.totalLength);
    decodeConstraint(util::jsonMember(item, "constraint"), descriptor);
    parameter.value = util::copyJSON(util::jsonMember(item, "value"));
    return parameter;
}

}  // namespace

bool isAddress(const Descriptor& descriptor) {
    return descriptor.widget == kAddressWidget && descriptor.type == kAddressType;
}

bool hasValue(const Parameter& parameter) {
    return parameter.value && !cJSON_IsNull(parameter.value.get());
}

std::optional<Parameter> decodeParameter(const cJSON* item) {
    const char* name = util::jsonText(util::jsonMember(item, "oid"));
    if (!name) {
        return std::nullopt;
    }
    Parameter parameter = decodeUnnamed(item);
    parameter.descriptor.name = name;
    return parameter;
}

std::vector<Parameter> decodeMembers(const cJSON* structure) {
    std::vector<Parameter> members;
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, structure) {
        std::string_view key = item->string ? item->string : "";
        if (key.starts_with(kMemberMark)) {
            members.push_back(decodeUnnamed(item));
            members.back().descriptor.name = key.substr(std::string_view(kMemberMark).size());
        }
    }
    return members;
}

std::vector<Parameter> decodeParameters(const cJSON* object) {
    std::vector<Parameter> parameters;
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, object) {
        if (auto parameter = decodeParameter(item)) {
            parameters.push_back(std::move(*parameter));
        }
    }
    return parameters;
}

}  // namespace client
