#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "systemstate/network_settings.h"

// What a change of the frame's network consists of. Pure functions, any thread.

namespace pallctl {

// One of the settings that make up the network.
struct NetworkMember {
    const char* option;   // of the command line
    const char* meaning;  // in its help
    const char* leaf;     // of the parameter
    uint32_t NetworkSettings::*value;
};

// In the order in which they are sent. The daemon restarts the network for each of them, and after
// the address also the services that announce it to others: these are to come up once, on the
// network as it will stay. So the address is the last.
inline constexpr std::array<NetworkMember, 3> kNetworkMembers{{
    {"--netmask", "The netmask", "netmask", &NetworkSettings::netmask},
    {"--gateway", "The default gateway", "gateway", &NetworkSettings::gateway},
    {"--address", "The frame's own address", "ipAddress", &NetworkSettings::ip},
}};

// The one whose parameter is called so below its device; null when there is none.
const NetworkMember* networkMember(const std::string& leaf);

// The number that the dotted text stands for; nothing for any other text, and for the two that the
// daemon takes for none, 0.0.0.0 and 255.255.255.255.
std::optional<uint32_t> addressOf(const std::string& text);

// `before` with every setting of `wish` that is not 0.
NetworkSettings merged(NetworkSettings before, const NetworkSettings& wish);

// The members in which the two differ, in the order of the table.
std::vector<const NetworkMember*> differences(const NetworkSettings& one,
                                              const NetworkSettings& other);

// Why a frame with these settings could hardly be reached, "--gateway 10.9.0.1: ..."; empty when
// nothing speaks against them. All three are valid addresses.
std::string findReachabilityProblem(const NetworkSettings& settings);

}  // namespace pallctl
