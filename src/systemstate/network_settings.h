#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace systemstate {

// The frame's own address settings and their text form in network.conf. Addresses are 32-bit
// numbers in host order with the first dotted octet in the most significant byte. Pure functions,
// usable from any thread.

struct NetworkSettings {
    uint32_t ip = 0;
    uint32_t netmask = 0;
    uint32_t gateway = 0;

    bool operator==(const NetworkSettings&) const = default;
};

// The settings in a text of network.conf; a setting that it does not mention is absent.
struct NetworkConf {
    std::optional<uint32_t> ip;
    std::optional<uint32_t> netmask;
    std::optional<uint32_t> gateway;
};

// Whether a number can be an address of the frame: neither 0 nor 255.255.255.255.
bool isValidAddress(uint32_t address);

// Whether all three are valid.
bool areValid(const NetworkSettings& settings);

// The address at the start of the text; 0 when there is none. A group may be empty, which counts
// as 0; what follows the fourth group is ignored.
uint32_t parseDotted(std::string_view text);

// "10.1.2.3"
std::string dottedText(uint32_t address);

// Reads the lines with "=". A key counts as the first of IPADDR, NETMASK and GATEWAY that begins
// with it, so that a shortened key, even an empty one, is accepted. A later line overwrites an
// earlier one; a value that is not a dotted address, such as a quoted one, is 0.
NetworkConf decodeNetworkConf(std::string_view text);

// The whole text of the file for these dotted texts.
std::string renderNetworkConf(const std::string& ip, const std::string& netmask,
                              const std::string& gateway);

}  // namespace systemstate
