#include "pallframe/simulation/bonding.h"

#include <algorithm>
#include <charconv>

namespace pallframe::simulation {

namespace {

constexpr std::string_view kDriverLine =
    "Ethernet Channel Bonding Driver: v3.7.1 (April 27, 2011)\n\n";

Slave* findSlave(Bond& bond, std::string_view interface) {
    const auto found = std::ranges::find(bond.slaves, interface, &Slave::interface);
    return found == bond.slaves.end() ? nullptr : &*found;
}

void takeHeaderLine(Bond& bond, std::string_view key, std::string_view value) {
    if (key == "Currently Active Slave" && value != "None") {
        bond.active = value;
    }
}

void takeSlaveLine(Slave& slave, std::string_view key, std::string_view value) {
    if (key == "MII Status") {
        slave.up = value == "up";
    } else if (key == "Link Failure Count") {
        std::from_chars(value.data(), value.data() + value.size(), slave.linkFailures);
    } else if (key == "Permanent HW addr") {
        slave.address = value;
    }
}

void takeLine(Bond& bond, std::string_view line) {
    const size_t colon = line.find(": ");
    if (colon == std::string_view::npos) {
        return;
    }
    const std::string_view key = line.substr(0, colon);
    const std::string_view value = line.substr(colon + 2);
    if (key == "Slave Interface") {
        bond.slaves.push_back({std::string(value)});
    } else if (bond.slaves.empty()) {
        takeHeaderLine(bond, key, value);
    } else {
        takeSlaveLine(bond.slaves.back(), key, value);
    }
}

std::string renderSlave(const Slave& slave) {
    return "\nSlave Interface: " + slave.interface + "\nMII Status: " + (slave.up ? "up" : "down") +
           "\nSpeed: " + (slave.up ? "1000 Mbps" : "Unknown") +
           "\nDuplex: " + (slave.up ? "full" : "Unknown") +
           "\nLink Failure Count: " + std::to_string(slave.linkFailures) +
           "\nPermanent HW addr: " + slave.address + "\nSlave queue ID: 0\n";
}

void chooseActive(Bond& bond) {
    const Slave* active = findSlave(bond, bond.active);
    if (active != nullptr && active->up) {
        return;
    }
    const auto next = std::ranges::find(bond.slaves, true, &Slave::up);
    bond.active = next == bond.slaves.end() ? "" : next->interface;
}

}  // namespace

Bond parseBond(std::string_view text) {
    Bond bond;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        takeLine(bond, text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return bond;
}

std::string renderBond(const Bond& bond, bool driverLine) {
    std::string text(driverLine ? kDriverLine : "");
    text += "Bonding Mode: fault-tolerance (active-backup)\nPrimary Slave: None\n";
    text += "Currently Active Slave: " + (bond.active.empty() ? "None" : bond.active) + "\n";
    text += std::string("MII Status: ") + (bond.active.empty() ? "down" : "up") + "\n";
    text += "MII Polling Interval (ms): 100\nUp Delay (ms): 0\nDown Delay (ms): 0\n";
    for (const Slave& slave : bond.slaves) {
        text += renderSlave(slave);
    }
    return text;
}

bool setLink(Bond& bond, std::string_view interface, bool up) {
    Slave* slave = findSlave(bond, interface);
    if (slave == nullptr) {
        return false;
    }
    slave->linkFailures += slave->up && !up ? 1 : 0;
    slave->up = up;
    chooseActive(bond);
    return true;
}

bool makeActive(Bond& bond, std::string_view interface) {
    const Slave* slave = findSlave(bond, interface);
    if (slave == nullptr || !slave->up) {
        return false;
    }
    bond.active = slave->interface;
    return true;
}

}  // namespace pallframe::simulation
