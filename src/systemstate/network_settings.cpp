#include "systemstate/network_settings.h"

#include <array>
#include <cstdio>
#include <utility>

#include "util/text.h"

namespace systemstate {

namespace {

constexpr uint32_t kNoAddress = 0;
constexpr uint32_t kBroadcastAddress = 0xFFFFFFFF;
constexpr uint32_t kMaxOctet = 255;
constexpr int kOctets = 4;

struct Key {
    std::string_view name;
    std::optional<uint32_t> NetworkConf::*setting;
};

constexpr Key kKeys[] = {
    {"IPADDR", &NetworkConf::ip},
    {"NETMASK", &NetworkConf::netmask},
    {"GATEWAY", &NetworkConf::gateway},
};

// Takes the digits off the front of `text`. Any value above an octet's stays above it, however many
// digits there are.
uint32_t takeGroup(std::string_view& text) {
    uint32_t value = 0;
    while (!text.empty() && text.front() >= '0' && text.front() <= '9') {
        if (value <= kMaxOctet) {
            value = value * 10 + static_cast<uint32_t>(text.front() - '0');
        }
        text.remove_prefix(1);
    }
    return value;
}

bool takeDot(std::string_view& text) {
    if (!text.starts_with('.')) {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

void readLine(NetworkConf& conf, std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) {
        return;
    }
    for (const Key& key : kKeys) {
        if (key.name.starts_with(line.substr(0, equals))) {
            conf.*key.setting = parseDotted(line.substr(equals + 1));
            return;
        }
    }
}

}  // namespace

bool isValidAddress(uint32_t address) {
    return address != kNoAddress && address != kBroadcastAddress;
}

bool areValid(const NetworkSettings& settings) {
    return isValidAddress(settings.ip) && isValidAddress(settings.netmask) &&
           isValidAddress(settings.gateway);
}

uint32_t parseDotted(std::string_view text) {
    uint32_t address = 0;
    for (int octet = 1; octet <= kOctets; ++octet) {
        const uint32_t group = takeGroup(text);
        if (group > kMaxOctet || (octet < kOctets && !takeDot(text))) {
            return kNoAddress;
        }
        address = address << 8 | group;
    }
    return address;
}

std::string dottedText(uint32_t address) {
    std::array<char, sizeof "255.255.255.255"> text{};
    std::snprintf(text.data(), text.size(), "%u.%u.%u.%u", address >> 24, address >> 16 & 0xFF,
                  address >> 8 & 0xFF, address & 0xFF);
    return text.data();
}

NetworkConf decodeNetworkConf(std::string_view text) {
    NetworkConf conf;
    while (!text.empty()) {
        readLine(conf, util::takeLine(text));
    }
    return conf;
}

std::string renderNetworkConf(const std::string& ip, const std::string& netmask,
                              const std::string& gateway) {
    std::string text = "USE_DHCP=0\n";
    for (const auto& [key, value] : {std::pair("IPADDR=", &ip), std::pair("NETMASK=", &netmask),
                                     std::pair("GATEWAY=", &gateway)}) {
        text.append(key).append(*value).append(1, '\n');
    }
    return text;
}

}  // namespace systemstate
