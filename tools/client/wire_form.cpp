#include "client/wire_form.h"

#include <arpa/inet.h>
#include <strings.h>

#include <cstdint>

#include "client/checks.h"
#include "client/human_form.h"
#include "client/safe_text.h"
#include "client/structure_form.h"
#include "client/value_type.h"
#include "program/number.h"

namespace pallctl {

namespace {

WireForm problem(std::string text) {
    return {nullptr, std::move(text)};
}

WireForm checked(const Descriptor& descriptor, UniqueJSON value) {
    std::string problem = objection(descriptor, value.get());
    return problem.empty() ? WireForm{std::move(value), ""} : WireForm{nullptr, std::move(problem)};
}

WireForm addressForm(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) == 1) {
        return {jsonNumber(ntohl(address.s_addr)), ""};
    }
    if (const auto number = numberIn<uint32_t>(text)) {
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
    const ValueType* const type = valueType(descriptor.type);
    return type && type->typed
               ? checked(descriptor, type->typed(text))
               : problem("cannot be set from a text: " + printable(descriptor.type));
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
