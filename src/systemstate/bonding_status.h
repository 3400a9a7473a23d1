#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "systemstate/block_file.h"
#include "systemstate/ethernet_ports.h"

namespace systemstate {

// The Linux bonding driver's description of the frame's bond
// (Documentation/networking/bonding.rst): a header block and one block per slave. Pure functions,
// usable from any thread.

struct BondSlave {
    std::string interface;
    std::string miiStatus;
    std::string speed;
    std::string duplex;
    std::string linkFailureCount;
    std::string permanentAddress;
    std::string queueId;
};

struct BondingStatus {
    std::string activeSlave;      // interface name
    std::string miiStatus;        // of the bond as a whole
    std::int32_t upDelay = -1;    // milliseconds; -1: not readable
    std::int32_t downDelay = -1;  // milliseconds; -1: not readable
    std::array<BondSlave, 2> slaves;
    std::vector<UnreadInteger> unread;  // the delays that could not be read
};

// The index of the header block. The driver's own file starts with a block that holds its version;
// the copy that the tools of a Tessara frame make does not.
inline constexpr std::size_t kDriverHeaderBlock = 1;
inline constexpr std::size_t kTessaraHeaderBlock = 0;

// Reads the header block and the two slave blocks after it; nothing when there are fewer blocks.
std::optional<BondingStatus> decodeBonding(const std::vector<Block>& blocks,
                                           std::size_t headerBlock);

// The status a port has by its slave's "MII Status": any text that starts with neither "up" nor
// "down", such as the driver's "going back", is `other`.
PortStatus decodePortStatus(std::string_view miiStatus);

// The statuses of the ports by the bond, after `statuses`: a port that is not a slave of the bond
// keeps its own, and the active slave's port is active while its link is up.
PortStatuses computeStatuses(const EthernetPorts& ports, PortStatuses statuses,
                             const BondingStatus& bond);

}  // namespace systemstate
