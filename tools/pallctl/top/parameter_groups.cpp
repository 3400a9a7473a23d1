#include "pallctl/top/parameter_groups.h"

#include <algorithm>
#include <cctype>
#include <string>

#include "systemstate/catalogue.h"

namespace pallctl::top {

namespace {

using systemstate::CatalogueRow;
using systemstate::Group;

struct GroupTitle {
    Group group;
    const char* title;
};

// In the order on the screen.
constexpr GroupTitle kGroupTitles[] = {
    {Group::identity, "Identity"},
    {Group::network, "Network"},
    {Group::ethernetPorts, "Ethernet ports"},
    {Group::voltages, "Voltages"},
    {Group::services, "Services"},
    {Group::redundantPair, "Redundant pair"},
    {Group::serialPorts, "Serial ports"},
    {Group::card, "Card"},
};

bool isInCatalogue(const std::string& leaf) {
    return std::ranges::any_of(systemstate::catalogue(),
                               [&](const CatalogueRow& row) { return leafName(row) == leaf; });
}

bool equalsIgnoringCase(char one, char other) {
    const auto lower = [](char character) {
        return std::tolower(static_cast<unsigned char>(character));
    };
    return lower(one) == lower(other);
}

bool contains(std::string_view text, std::string_view part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(), equalsIgnoringCase) !=
           text.end();
}

void addParameters(Section& section, const DeviceState& state, Group group, bool leading) {
    for (const CatalogueRow& row : systemstate::catalogue()) {
        if (row.group == group && row.leadsGroup == leading) {
            if (const client::Parameter* parameter = state.find(std::string(leafName(row)))) {
                section.parameters.push_back(parameter);
            }
        }
    }
}

Section makeSection(const GroupTitle& group, const DeviceState& state) {
    Section section{group.title, {}};
    addParameters(section, state, group.group, true);
    addParameters(section, state, group.group, false);
    return section;
}

// A notification may contain members that are not parameters of the device.
Section makeOtherSection(const DeviceState& state) {
    Section section{"Other", {}};
    for (const client::Parameter* parameter : state.all()) {
        if (!parameter->descriptor.type.empty() && !isInCatalogue(state.leafName(*parameter))) {
            section.parameters.push_back(parameter);
        }
    }
    return section;
}

}  // namespace

std::vector<Section> groupParameters(const DeviceState& state, std::string_view text) {
    std::vector<Section> sections;
    for (const GroupTitle& group : kGroupTitles) {
        sections.push_back(makeSection(group, state));
    }
    sections.push_back(makeOtherSection(state));
    for (Section& section : sections) {
        std::erase_if(section.parameters, [&](const client::Parameter* parameter) {
            return !matches(state, *parameter, text);
        });
    }
    std::erase_if(sections, [](const Section& section) { return section.parameters.empty(); });
    return sections;
}

bool matches(const DeviceState& state, const client::Parameter& parameter, std::string_view text) {
    return contains(state.leafName(parameter), text) ||
           contains(parameter.descriptor.label, text) || contains(displayValue(&parameter), text);
}

}  // namespace pallctl::top
