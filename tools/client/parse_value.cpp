#include "client/parse_value.h"

#include <arpa/inet.h>
#include <strings.h>

#include <cstdint>

#include "cli/escape.h"
#include "cli/parse_number.h"
#include "client/format_value.h"
#include "client/parse_struct.h"
#include "client/value_type.h"
#include "client/value_validation.h"

namespace client {

namespace {

ParsedValue problem(std::string text) {
    return {nullptr, std::move(text)};
}

ParsedValue checked(const Descriptor& descriptor, util::UniqueJSON value) {
    std::string problem = validateValue(descriptor, value.get());
    return problem.empty() ? ParsedValue{std::move(value), ""}
                           : ParsedValue{nullptr, std::move(problem)};
}

ParsedValue addressForm(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) == 1) {
        return {util::jsonNumber(ntohl(address.s_addr)), ""};
    }
    if (const auto number = cli::parseNumber<uint32_t>(text)) {
        return {util::jsonNumber(*number), ""};
    }
    return problem("needs an address such as 10.1.2.3");
}

bool isShownAs(const Choice& choice, const std::string& text) {
    return cli::escapeForTerminal(choice.name) == text;
}

bool isNamed(const Choice& choice, const std::string& text) {
    return strcasecmp(choice.name.c_str(), text.c_str()) == 0;
}

// As it is shown before any other case, and both before the numbers: a name may look like one.
util::UniqueJSON typedChoice(const std::vector<Choice>& choices, const std::string& text) {
    for (const auto isIt : {isShownAs, isNamed}) {
        for (const Choice& choice : choices) {
            if (isIt(choice, text)) {
                return util::jsonNumber(static_cast<double>(choice.value));
            }
        }
    }
    return typedNumber(text);
}

const cJSON* memberValue(const cJSON* structure, const char* key) {
    return util::jsonMember(util::jsonMember(structure, key), "value");
}

bool holds(const cJSON* held, const cJSON* wantedMember) {
    return cJSON_Compare(memberValue(held, wantedMember->string),
                         util::jsonMember(wantedMember, "value"), true) != 0;
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

ParsedValue parseValue(const Descriptor& descriptor, const std::string& text) {
    if (!descriptor.choices.empty()) {
        return checked(descriptor, typedChoice(descriptor.choices, text));
    }
    if (isAddress(descriptor)) {
        ParsedValue form = addressForm(text);
        return form.value ? checked(descriptor, std::move(form.value)) : std::move(form);
    }
    const ValueType* const type = valueType(descriptor.type);
    return type && type->typed
               ? checked(descriptor, type->typed(text))
               : problem("cannot be set from a text: " + cli::escapeForTerminal(descriptor.type));
}

ParsedValue parseValue(const Parameter& parameter, const std::string& text) {
    if (parameter.descriptor.type != kStructureType) {
        return parseValue(parameter.descriptor, text);
    }
    return hasValue(parameter) ? parseStruct(decodeMembers(parameter.value.get()), text)
                               : problem("has members that are not known here");
}

ParsedValue parseRawValue(const Descriptor& descriptor, const std::string& text) {
    util::UniqueJSON value(cJSON_ParseWithOpts(text.c_str(), nullptr, true));
    return value ? checked(descriptor, std::move(value)) : problem("needs a value in JSON");
}

util::UniqueJSON parseUntypedValue(const std::string& text) {
    return text == "true" || text == "false" ? util::jsonBool(text == "true") : typedNumber(text);
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

bool hasValueAsShown(const Parameter& parameter, const cJSON* wanted) {
    const cJSON* held = parameter.value.get();
    return isSameValue(held, wanted) ||
           (hasValue(parameter) &&
            formatValue(parameter.descriptor, held) == formatValue(parameter.descriptor, wanted));
}

}  // namespace client
