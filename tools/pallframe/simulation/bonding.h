#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pallframe::simulation {

// One port of the bond, as the Linux bonding driver reports it.
struct Slave {
    std::string interface;
    bool up = true;
    int linkFailures = 0;
    std::string address{};  // permanent hardware address

    bool operator==(const Slave&) const = default;
};

// An active-backup bond: at most one slave carries the traffic.
struct Bond {
    std::vector<Slave> slaves;
    std::string active;  // interface name; empty when no slave can carry traffic

    bool operator==(const Bond&) const = default;
};

// What a bonding status text says; lines it does not know are passed over, so that a text edited by
// hand keeps working.
Bond parseBond(std::string_view text);

// The text of /proc/net/bonding/bond0 (Documentation/networking/bonding.rst). Without the driver
// line it is the copy that the tools of a Tessara frame keep in /tmp/bond0.
std::string renderBond(const Bond& bond, bool driverLine);

// Plugs or pulls a cable. The bond moves as the driver moves it: away from a port that went down,
// to a port that came up only when no other is active. False when the bond has no such port.
bool setLink(Bond& bond, std::string_view interface, bool up);

// Makes a port the active one; false when there is no such port or its link is down.
bool makeActive(Bond& bond, std::string_view interface);

}  // namespace pallframe::simulation
