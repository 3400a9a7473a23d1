// A value is parsed by what its descriptor says: a choice by name, an address, or the text of its
// type. A structure is split at the names of its members, each of which is parsed by a descriptor
// of its own. Every result is validated before it is returned.

#include "client/parse_value.h"

#include <arpa/inet.h>
#include <strings.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>

#include "cli/escape.h"
#include "cli/parse_number.h"
#include "client/format_value.h"
#include "client/parse_value.h"
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

ParsedValue parseAddress(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) == 1) {
        return {util::jsonNumber(ntohl(address.s_addr)), ""};
    }
    if (const auto number = cli::parseNumber<uint32_t>(text)) {
        return {util::jsonNumber(*number), ""};
    }
    return problem("must be an address such as 10.1.2.3");
}

bool isShownAs(const Choice& choice, const std::string& text) {
    return cli::escapeForTerminal(choice.name) == text;
}

bool equalsIgnoringCase(std::string_view one, std::string_view other) {
    return one.size() == other.size() && ::strncasecmp(one.data(), other.data(), one.size()) == 0;
}

bool isNamed(const Choice& choice, const std::string& text) {
    return equalsIgnoringCase(choice.name, text);
}

// The words of people for a switch, off and on, with the names that make two choices a switch.
constexpr std::string_view kSwitchWords[][3] = {{"Disabled", "off", "false"},
                                                {"Enabled", "on", "true"}};

// 0 or 1 for a word of that position; empty for another one.
std::optional<int64_t> parseSwitchWord(const std::string& text) {
    for (int64_t value = 0; value < std::ssize(kSwitchWords); ++value) {
        if (std::ranges::any_of(kSwitchWords[value], [&](std::string_view word) {
                return equalsIgnoringCase(word, text);
            })) {
            return value;
        }
    }
    return std::nullopt;
}

bool isSwitch(const std::vector<Choice>& choices) {
    return choices.size() == std::size(kSwitchWords) &&
           std::ranges::all_of(choices, [](const Choice& choice) {
               return parseSwitchWord(choice.name) == choice.value;
           });
}

// The exact name first, then any case, then a word for a switch, then the number: a name may look
// like a number.
util::UniqueJSON parseChoice(const std::vector<Choice>& choices, const std::string& text) {
    for (const auto matches : {isShownAs, isNamed}) {
        for (const Choice& choice : choices) {
            if (matches(choice, text)) {
                return util::jsonNumber(static_cast<double>(choice.value));
            }
        }
    }
    const auto value = isSwitch(choices) ? parseSwitchWord(text) : std::nullopt;
    return value ? util::jsonNumber(static_cast<double>(*value)) : parseNumberOrText(text);
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

constexpr std::string_view kGap = kMemberGap;

const Parameter* findMember(const std::vector<Parameter>& members, std::string_view text) {
    const auto found =
        std::find_if(members.begin(), members.end(), [text](const Parameter& member) {
            return text.starts_with(cli::escapeForTerminal(member.descriptor.name) + "=");
        });
    return found == members.end() ? nullptr : &*found;
}

// Where the value ends that begins here: at a gap with a member behind it, or with the text.
size_t findValueEnd(const std::vector<Parameter>& members, std::string_view text) {
    size_t gap = text.find(kGap);
    while (gap != std::string_view::npos && !findMember(members, text.substr(gap + kGap.size()))) {
        gap = text.find(kGap, gap + 1);
    }
    return std::min(gap, text.size());
}

// As a structure's value has it: without its type the device would not take it.
util::UniqueJSON makeMember(const Descriptor& descriptor, util::UniqueJSON value) {
    util::UniqueJSON member = util::jsonObject();
    util::addMember(member.get(), "type", util::jsonString(descriptor.type));
    util::addMember(member.get(), "value", std::move(value));
    return member;
}

std::string joinNames(const std::vector<Parameter>& members) {
    std::string names;
    for (const Parameter& member : members) {
        names += (names.empty() ? "" : kMemberGap) + cli::escapeForTerminal(member.descriptor.name);
    }
    return names;
}

// The text as a structure is shown: "member=value, member=value", with some or all of the members.
// A gap may be part of a value, unless the name of a member and "=" follow.
ParsedValue parseStruct(const std::vector<Parameter>& members, const std::string& text) {
    util::UniqueJSON structure = util::jsonObject();
    for (std::string_view rest = text;;) {
        const Parameter* member = findMember(members, rest);
        if (!member) {
            return {nullptr, "needs member=value with members: " + joinNames(members)};
        }
        const Descriptor& descriptor = member->descriptor;
        rest.remove_prefix(cli::escapeForTerminal(descriptor.name).size() + 1);
        const size_t end = findValueEnd(members, rest);
        ParsedValue form = parseValue(descriptor, std::string(rest.substr(0, end)));
        if (!form.value) {
            return {nullptr, cli::escapeForTerminal(descriptor.name) + " " + form.problem};
        }
        util::addMember(structure.get(), (kMemberMark + descriptor.name).c_str(),
                        makeMember(descriptor, std::move(form.value)));
        if (end == rest.size()) {
            return {std::move(structure), ""};
        }
        rest.remove_prefix(end + kGap.size());
    }
}

}  // namespace

ParsedValue parseValue(const Descriptor& descriptor, const std::string& text) {
    if (!descriptor.choices.empty()) {
        return checked(descriptor, parseChoice(descriptor.choices, text));
    }
    if (isAddress(descriptor)) {
        ParsedValue form = parseAddress(text);
        return form.value ? checked(descriptor, std::move(form.value)) : std::move(form);
    }
    const ValueType* const type = findValueType(descriptor.type);
    return type && type->parse
               ? checked(descriptor, type->parse(text))
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
    return value ? checked(descriptor, std::move(value)) : problem("must be a JSON value");
}

util::UniqueJSON parseUntypedValue(const std::string& text) {
    return text == "true" || text == "false" ? util::jsonBool(text == "true")
                                             : parseNumberOrText(text);
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
