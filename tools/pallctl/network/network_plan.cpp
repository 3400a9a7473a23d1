#include "pallctl/network/network_plan.h"

#include <arpa/inet.h>

#include <algorithm>

namespace pallctl {

namespace {

// A smaller network has neither a network address nor a broadcast address (RFC 3021).
constexpr uint32_t kSmallestHostPart = 3;

uint32_t hostPart(const systemstate::NetworkSettings& settings) {
    return ~settings.netmask;
}

bool hasHoles(const systemstate::NetworkSettings& settings) {
    return (hostPart(settings) & (hostPart(settings) + 1)) != 0;
}

bool isNoHost(uint32_t address) {
    const uint32_t first = address >> 24;
    return first == 0 || first == 127 || first >= 224;
}

bool isNoUnicast(const systemstate::NetworkSettings& settings) {
    return isNoHost(settings.ip);
}

bool isReserved(uint32_t address, const systemstate::NetworkSettings& settings) {
    const uint32_t host = address & hostPart(settings);
    return hostPart(settings) >= kSmallestHostPart && (host == 0 || host == hostPart(settings));
}

bool addressIsReserved(const systemstate::NetworkSettings& settings) {
    return isReserved(settings.ip, settings);
}

bool gatewayIsOutside(const systemstate::NetworkSettings& settings) {
    return ((settings.ip ^ settings.gateway) & settings.netmask) != 0;
}

bool gatewayIsReserved(const systemstate::NetworkSettings& settings) {
    return isReserved(settings.gateway, settings);
}

bool gatewayIsItself(const systemstate::NetworkSettings& settings) {
    return settings.gateway == settings.ip;
}

struct Objection {
    bool (*holds)(const systemstate::NetworkSettings&);
    const NetworkMember& member;
    const char* text;
};

constexpr const NetworkMember& kNetmask = kNetworkMembers[0];
constexpr const NetworkMember& kGateway = kNetworkMembers[1];
constexpr const NetworkMember& kAddress = kNetworkMembers[2];

// Each row assumes that the rows above do not apply.
constexpr Objection kObjections[] = {
    {hasHoles, kNetmask, "has zeros before ones"},
    {isNoUnicast, kAddress, "is not the address of a host"},
    {addressIsReserved, kAddress, "is the network or broadcast address"},
    {gatewayIsOutside, kGateway, "is not in the network of the address"},
    {gatewayIsReserved, kGateway, "is the network or broadcast address"},
    {gatewayIsItself, kGateway, "is the address of the frame itself"},
};

}  // namespace

const NetworkMember* findNetworkMember(const std::string& leaf) {
    const auto* const member = std::ranges::find(kNetworkMembers, leaf, &NetworkMember::leaf);
    return member == kNetworkMembers.end() ? nullptr : member;
}

std::optional<uint32_t> parseAddress(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1 || text.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    const uint32_t number = ntohl(address.s_addr);
    return systemstate::isValidAddress(number) ? std::optional(number) : std::nullopt;
}

systemstate::NetworkSettings merge(systemstate::NetworkSettings before,
                                   const systemstate::NetworkSettings& wish) {
    for (const NetworkMember& member : kNetworkMembers) {
        if (wish.*member.value != 0) {
            before.*member.value = wish.*member.value;
        }
    }
    return before;
}

std::vector<const NetworkMember*> findDifferences(const systemstate::NetworkSettings& one,
                                                  const systemstate::NetworkSettings& other) {
    std::vector<const NetworkMember*> members;
    for (const NetworkMember& member : kNetworkMembers) {
        if (one.*member.value != other.*member.value) {
            members.push_back(&member);
        }
    }
    return members;
}

std::string findReachabilityProblem(const systemstate::NetworkSettings& settings) {
    const auto* row = std::ranges::find_if(
        kObjections, [&](const Objection& objection) { return objection.holds(settings); });
    if (row == std::end(kObjections)) {
        return "";
    }
    return std::string(row->member.option) + " " +
           systemstate::dottedText(settings.*row->member.value) + ": " + row->text;
}

}  // namespace pallctl
