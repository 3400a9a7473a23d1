#include "top/groups.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <span>

namespace top {

namespace {

using pallctl::Parameter;

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

Section sectionOf(const Group& group, const Board& board) {
    Section section{group.title, {}};
    for (const char* leaf : group.leaves) {
        if (const Parameter* parameter = board.find(leaf)) {
            section.parameters.push_back(parameter);
        }
    }
    return section;
}

// An announcement may speak of things that are no parameters of the device.
Section othersOf(const Board& board) {
    Section section{"Other", {}};
    for (const Parameter* parameter : board.all()) {
        if (!parameter->descriptor.type.empty() && isInNone(board.leafOf(*parameter))) {
            section.parameters.push_back(parameter);
        }
    }
    return section;
}

}  // namespace

std::vector<Section> sectionsOf(const Board& board, std::string_view text) {
    std::vector<Section> sections;
    for (const Group& group : kGroups) {
        sections.push_back(sectionOf(group, board));
    }
    sections.push_back(othersOf(board));
    for (Section& section : sections) {
        std::erase_if(section.parameters, [&](const Parameter* parameter) {
            return !matches(board, *parameter, text);
        });
    }
    std::erase_if(sections, [](const Section& section) { return section.parameters.empty(); });
    return sections;
}

bool matches(const Board& board, const Parameter& parameter, std::string_view text) {
    return holds(board.leafOf(parameter), text) || holds(parameter.descriptor.label, text) ||
           holds(valueOf(&parameter), text);
}

}  // namespace top
