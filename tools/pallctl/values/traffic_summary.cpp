#include "pallctl/values/traffic_summary.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "bus/message_types.h"
#include "cli/escape.h"
#include "util/numbers.h"

namespace pallctl {

namespace {

constexpr std::string_view kDescriptorMark = "d_";

void append(std::string& text, const std::string& more, const char* between) {
    text += text.empty() || more.empty() ? "" : between;
    text += more;
}

std::string keyOf(const cJSON* member) {
    return member->string ? member->string : "";
}

std::string pairText(const cJSON* member) {
    return keyOf(member) + '=' + util::renderJSON(member, false);
}

// The names that a question lists; "" when it is none.
std::string askedNames(const cJSON* object) {
    std::string names;
    const cJSON* name = nullptr;
    cJSON_ArrayForEach(name, util::jsonMember(object, "objectName")) {
        const char* text = util::jsonText(name);
        append(names, text ? text : util::renderJSON(name, false), ", ");
    }
    return names;
}

std::string valuesText(const cJSON* param) {
    std::string text = askedNames(param);
    if (!text.empty() || !cJSON_IsObject(param)) {
        return text.empty() ? util::renderJSON(param, false) : text;
    }
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, param) {
        append(text, pairText(member), ", ");
    }
    return text;
}

std::string descriptorsText(const cJSON* descriptors) {
    std::string names = askedNames(descriptors);
    const cJSON* const described = names.empty() ? descriptors : nullptr;
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, described) {
        const std::string key = keyOf(member);
        append(names, key.substr(key.starts_with(kDescriptorMark) ? kDescriptorMark.size() : 0),
               ", ");
    }
    return "descriptors of " + names;
}

std::string codeText(const cJSON* code) {
    if (!cJSON_IsNumber(code)) {
        return util::renderJSON(code, false);
    }
    const int number = util::saturatedInt32(code->valuedouble);
    std::string text = std::to_string(number);
    append(text, statusText(number), " ");
    return text;
}

std::string nothing(const cJSON*) {
    return "";
}

// The keys that say more in other words, or what the line shows anyway.
struct KeyRow {
    std::string_view key;
    std::string (*text)(const cJSON* item);
};

constexpr KeyRow kKeys[] = {
    {"id", nothing},          {"requestCommand", nothing}, {"statusMsg", nothing},
    {"statusCode", codeText}, {"param", valuesText},       {"paramDescriptor", descriptorsText},
};

std::string memberText(const cJSON* member) {
    const auto* row = std::find_if(std::begin(kKeys), std::end(kKeys),
                                   [&](const KeyRow& each) { return each.key == keyOf(member); });
    return row == std::end(kKeys) ? pairText(member) : row->text(member);
}

}  // namespace

std::string summarizeData(const cJSON* data) {
    if (!cJSON_IsObject(data)) {
        return cli::escapeForTerminal(util::renderJSON(data, false));
    }
    std::string text;
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, data) {
        append(text, memberText(member), " ");
    }
    return cli::escapeForTerminal(text);
}

}  // namespace pallctl
