#include "pallctl/top/parameter_groups.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <span>

namespace pallctl::top {

namespace {

using client::Parameter;

// The device's own descriptor puts nothing into menus, so what belongs together is said here.
constexpr const char* kIdentity[] = {
    "frameName",          "systemName", "version", "active", "quoraneProfilesEnabled",
    "quoraneUsersEnabled"};
constexpr const char* kNetwork[] = {"ipAddress", "netmask", "gateway", "restartNetwork"};
constexpr const char* kPorts[] = {"ethPort1Status", "ethPort2Status", "activeEthernet"};
constexpr const char* kSupplies[] = {"psu1Voltage", "psu2Voltage", "battVoltage"};
constexpr const char* kServices[] = {"sshEnabled", "ftpEnabled", "ambrixEnabled", "generateReport"};
constexpr const char* kPair[] = {"activeKeli",       "primaryIPAddress", "primaryPresent",
                                 "primaryActive",    "primaryVersion",   "secondaryIPAddress",
                                 "secondaryPresent", "secondaryActive",  "secondaryVersion"};
constexpr const char* kSerialPorts[] = {"serial0", "serial1", "serial2"};
constexpr const char* kCard[] = {"frameType", "pcbRevision", "pcbIssue", "productId"};

struct Group {
    const char* title;
    std::span<const char* const> leaves;
};

constexpr Group kGroups[] = {{"Identity", kIdentity},        {"Network", kNetwork},
                             {"Ethernet ports", kPorts},     {"Voltages", kSupplies},
                             {"Services", kServices},        {"Redundant pair", kPair},
                             {"Serial ports", kSerialPorts}, {"Card", kCard}};

bool isIn(const Group& group, const std::string& leaf) {
    return std::find(group.leaves.begin(), group.leaves.end(), leaf) != group.leaves.end();
}

bool isInNone(const std::string& leaf) {
    return std::none_of(std::begin(kGroups), std::end(kGroups),
                        [&](const Group& group) { return isIn(group, leaf); });
}

bool equalInAnyCase(char one, char other) {
    const auto lower = [](char character) {
        return std::tolower(static_cast<unsigned char>(character));
    };
    return lower(one) == lower(other);
}

bool holds(std::string_view text, std::string_view part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(), equalInAnyCase) !=
           text.end();
}

Section sectionOf(const Group& group, const DeviceState& state) {
    Section section{group.title, {}};
    for (const char* leaf : group.leaves) {
        if (const client::Parameter* parameter = state.find(leaf)) {
            section.parameters.push_back(parameter);
        }
    }
    return section;
}

// An announcement may speak of things that are no parameters of the device.
Section othersOf(const DeviceState& state) {
    Section section{"Other", {}};
    for (const client::Parameter* parameter : state.all()) {
        if (!parameter->descriptor.type.empty() && isInNone(state.leafName(*parameter))) {
            section.parameters.push_back(parameter);
        }
    }
    return section;
}

}  // namespace

std::vector<Section> groupParameters(const DeviceState& state, std::string_view text) {
    std::vector<Section> sections;
    for (const Group& group : kGroups) {
        sections.push_back(sectionOf(group, state));
    }
    sections.push_back(othersOf(state));
    for (Section& section : sections) {
        std::erase_if(section.parameters, [&](const client::Parameter* parameter) {
            return !matches(state, *parameter, text);
        });
    }
    std::erase_if(sections, [](const Section& section) { return section.parameters.empty(); });
    return sections;
}

bool matches(const DeviceState& state, const client::Parameter& parameter, std::string_view text) {
    return holds(state.leafName(parameter), text) || holds(parameter.descriptor.label, text) ||
           holds(valueOf(&parameter), text);
}

}  // namespace pallctl::top
