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

std::string getKey(const cJSON* member) {
    return member->string ? member->string : "";
}

std::string formatPair(const cJSON* member) {
    return getKey(member) + '=' + util::renderJSON(member, false);
}

// The names in a request; empty otherwise.
std::string listRequestedNames(const cJSON* object) {
    std::string names;
    const cJSON* name = nullptr;
    cJSON_ArrayForEach(name, util::jsonMember(object, "objectName")) {
        const char* text = util::jsonText(name);
        append(names, text ? text : util::renderJSON(name, false), ", ");
    }
    return names;
}

std::string formatValues(const cJSON* param) {
    std::string text = listRequestedNames(param);
    if (!text.empty() || !cJSON_IsObject(param)) {
        return text.empty() ? util::renderJSON(param, false) : text;
    }
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, param) {
        append(text, formatPair(member), ", ");
    }
    return text;
}

std::string formatDescriptors(const cJSON* descriptors) {
    std::string names = listRequestedNames(descriptors);
    const cJSON* const described = names.empty() ? descriptors : nullptr;
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, described) {
        const std::string key = getKey(member);
        append(names, key.substr(key.starts_with(kDescriptorMark) ? kDescriptorMark.size() : 0),
               ", ");
    }
    return "descriptors of " + names;
}

std::string formatCode(const cJSON* code) {
    if (!cJSON_IsNumber(code)) {
        return util::renderJSON(code, false);
    }
    const int number = util::saturatedInt32(code->valuedouble);
    std::string text = std::to_string(number);
    append(text, statusText(number), " ");
    return text;
}

std::string formatNothing(const cJSON*) {
    return "";
}

// Keys with a text of their own, or that the line shows anyway.
struct KeyRow {
    std::string_view key;
    std::string (*text)(const cJSON* item);
};

constexpr KeyRow kKeys[] = {
    {"id", formatNothing},        {"requestCommand", formatNothing},
    {"statusMsg", formatNothing}, {"statusCode", formatCode},
    {"param", formatValues},      {"paramDescriptor", formatDescriptors},
};

std::string formatMember(const cJSON* member) {
    const auto* row = std::find_if(std::begin(kKeys), std::end(kKeys),
                                   [&](const KeyRow& each) { return each.key == getKey(member); });
    return row == std::end(kKeys) ? formatPair(member) : row->text(member);
}

}  // namespace

std::string summarizeData(const cJSON* data) {
    if (!cJSON_IsObject(data)) {
        return cli::escapeForTerminal(util::renderJSON(data, false));
    }
    std::string text;
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, data) {
        append(text, formatMember(member), " ");
    }
    return cli::escapeForTerminal(text);
}

}  // namespace pallctl
