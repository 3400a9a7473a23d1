#include "client/wire_form.h"

#include <arpa/inet.h>
#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

#include "client/checks.h"
#include "client/human_form.h"
#include "client/safe_text.h"
#include "client/structure_form.h"

namespace pallctl {

namespace {

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

WireForm checked(const Descriptor& descriptor, UniqueJSON value) {
    std::string problem = objection(descriptor, value.get());
    return problem.empty() ? WireForm{std::move(value), ""} : WireForm{nullptr, std::move(problem)};
}

// A number as it was typed, a text when it is none.
UniqueJSON typedNumber(const std::string& text) {
    const auto number = wholeNumber<double>(text);
    return number && std::isfinite(*number) ? jsonNumber(*number) : jsonString(text);
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

bool isShownAs(const Choice& choice, const std::string& text) {
    return printable(choice.name) == text;
}

bool isNamed(const Choice& choice, const std::string& text) {
    return strcasecmp(choice.name.c_str(), text.c_str()) == 0;
}

// As it is shown before any other case, and both before the numbers: a name may look like one.
UniqueJSON typedChoice(const std::vector<Choice>& choices, const std::string& text) {
    for (const auto isIt : {isShownAs, isNamed}) {
        for (const Choice& choice : choices) {
            if (isIt(choice, text)) {
                return jsonNumber(static_cast<double>(choice.value));
            }
        }
    }
    return typedNumber(text);
}

UniqueJSON typedText(const std::string& text) {
    return jsonString(text);
}

struct TypeRow {
    const char* type;
    UniqueJSON (*typed)(const std::string& text);
};

constexpr TypeRow kTypes[] = {
    {"INT16", typedNumber}, {"INT32", typedNumber}, {"FLOAT", typedNumber}, {"STRING", typedText}};

const cJSON* memberValue(const cJSON* structure, const char* key) {
    return jsonMember(jsonMember(structure, key), "value");
}

bool holds(const cJSON* held, const cJSON* wantedMember) {
    return cJSON_Compare(memberValue(held, wantedMember->string), jsonMember(wantedMember, "value"),
                         true) != 0;
}

// Every member that is wanted is held with the same value.
bool holdsMembers(const cJSON* held, const cJSON* wanted) {
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, wanted) {
        if (!holds(held, member)) {
            return false;
        }
    }
    return true;
}

}  // namespace

WireForm wireForm(const Descriptor& descriptor, const std::string& text) {
    if (!descriptor.choices.empty()) {
        return checked(descriptor, typedChoice(descriptor.choices, text));
    }
    if (isAddress(descriptor)) {
        WireForm form = addressForm(text);
        return form.value ? checked(descriptor, std::move(form.value)) : std::move(form);
    }
    for (const TypeRow& row : kTypes) {
        if (descriptor.type == row.type) {
            return checked(descriptor, row.typed(text));
        }
    }
    return problem("cannot be set from a text: " + printable(descriptor.type));
}

WireForm wireForm(const Parameter& parameter, const std::string& text) {
    if (parameter.descriptor.type != kStructureType) {
        return wireForm(parameter.descriptor, text);
    }
    return hasValue(parameter) ? structureForm(decodeMembers(parameter.value.get()), text)
                               : problem("has members that are not known here");
}

WireForm rawForm(const Descriptor& descriptor, const std::string& text) {
    UniqueJSON value(cJSON_ParseWithOpts(text.c_str(), nullptr, true));
    return value ? checked(descriptor, std::move(value)) : problem("needs a value in JSON");
}

UniqueJSON plainWireForm(const std::string& text) {
    return text == "true" || text == "false" ? jsonBool(text == "true") : typedNumber(text);
}

bool isSameValue(const cJSON* held, const cJSON* wanted) {
    return cJSON_IsObject(wanted) ? holdsMembers(held, wanted)
                                  : cJSON_Compare(held, wanted, true) != 0;
}

void dropSameMembers(const cJSON* held, cJSON* wanted) {
    for (cJSON* member = wanted->child; member;) {
        cJSON* const next = member->next;
        if (holds(held, member)) {
            cJSON_Delete(cJSON_DetachItemViaPointer(wanted, member));
        }
        member = next;
    }
}

bool readsAs(const Parameter& parameter, const cJSON* wanted) {
    const cJSON* held = parameter.value.get();
    return isSameValue(held, wanted) ||
           (hasValue(parameter) &&
            humanForm(parameter.descriptor, held) == humanForm(parameter.descriptor, wanted));
}

}  // namespace pallctl
