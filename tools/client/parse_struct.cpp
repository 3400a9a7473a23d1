#include "client/parse_struct.h"

#include <algorithm>
#include <string_view>

#include "cli/escape.h"

namespace client {

namespace {

constexpr std::string_view kGap = kMemberGap;

const Parameter* memberAt(const std::vector<Parameter>& members, std::string_view text) {
    const auto found =
        std::find_if(members.begin(), members.end(), [text](const Parameter& member) {
            return text.starts_with(cli::escapeForTerminal(member.descriptor.name) + "=");
        });
    return found == members.end() ? nullptr : &*found;
}

// Where the value ends that begins here: at a gap with a member behind it, or with the text.
size_t endOfValue(const std::vector<Parameter>& members, std::string_view text) {
    size_t gap = text.find(kGap);
    while (gap != std::string_view::npos && !memberAt(members, text.substr(gap + kGap.size()))) {
        gap = text.find(kGap, gap + 1);
    }
    return std::min(gap, text.size());
}

// As a structure's value has it: without its type the device would not take it.
util::UniqueJSON memberForm(const Descriptor& descriptor, util::UniqueJSON value) {
    util::UniqueJSON member = util::jsonObject();
    util::addMember(member.get(), "type", util::jsonString(descriptor.type));
    util::addMember(member.get(), "value", std::move(value));
    return member;
}

std::string namesOf(const std::vector<Parameter>& members) {
    std::string names;
    for (const Parameter& member : members) {
        names += (names.empty() ? "" : kMemberGap) + cli::escapeForTerminal(member.descriptor.name);
    }
    return names;
}

}  // namespace

ParsedValue parseStruct(const std::vector<Parameter>& members, const std::string& text) {
    util::UniqueJSON structure = util::jsonObject();
    for (std::string_view rest = text;;) {
        const Parameter* member = memberAt(members, rest);
        if (!member) {
            return {nullptr, "needs member=value with members: " + namesOf(members)};
        }
        const Descriptor& descriptor = member->descriptor;
        rest.remove_prefix(cli::escapeForTerminal(descriptor.name).size() + 1);
        const size_t end = endOfValue(members, rest);
        ParsedValue form = parseValue(descriptor, std::string(rest.substr(0, end)));
        if (!form.value) {
            return {nullptr, cli::escapeForTerminal(descriptor.name) + " " + form.problem};
        }
        util::addMember(structure.get(), (kMemberMark + descriptor.name).c_str(),
                        memberForm(descriptor, std::move(form.value)));
        if (end == rest.size()) {
            return {std::move(structure), ""};
        }
        rest.remove_prefix(end + kGap.size());
    }
}

}  // namespace client
