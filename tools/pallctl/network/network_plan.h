#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "systemstate/network_settings.h"

// The plan of a change of the network settings. Pure functions, any thread.

namespace pallctl {

// One of the network settings.
struct NetworkMember {
    const char* option;   // of the command line
    const char* meaning;  // in its help
    const char* leaf;     // of the parameter
    uint32_t systemstate::NetworkSettings::*value;
};

// In the order in which they are sent. The daemon restarts the network for each, and after the
// address also the services that announce it; these should start once, on the final network. So the
// address is last.
inline constexpr std::array<NetworkMember, 3> kNetworkMembers{{
    {"--netmask", "The netmask", "netmask", &systemstate::NetworkSettings::netmask},
    {"--gateway", "The default gateway", "gateway", &systemstate::NetworkSettings::gateway},
    {"--address", "The frame's own address", "ipAddress", &systemstate::NetworkSettings::ip},
}};

// The setting with that parameter name below its device; null for any other name.
const NetworkMember* findNetworkMember(const std::string& leaf);

// The number of a dotted address; empty for any other text, and for 0.0.0.0 and 255.255.255.255,
// which the daemon takes for no address.
std::optional<uint32_t> parseAddress(const std::string& text);

// `before` with every setting of `wish` except 0.
systemstate::NetworkSettings merge(systemstate::NetworkSettings before,
                                   const systemstate::NetworkSettings& wish);

// The settings that differ, in the order of the table.
std::vector<const NetworkMember*> findDifferences(const systemstate::NetworkSettings& one,
                                                  const systemstate::NetworkSettings& other);

// Why a frame with these settings could hardly be reached, "--gateway 10.9.0.1: ..."; otherwise
// empty. All three are valid addresses.
std::string findReachabilityProblem(const systemstate::NetworkSettings& settings);

}  // namespace pallctl
