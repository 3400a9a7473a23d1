#include "systemstate/bonding_status.h"

namespace systemstate {

namespace {

BondSlave decodeSlave(const Block& block) {
    return {.interface = blockText(block, "Slave Interface"),
            .miiStatus = blockText(block, "MII Status"),
            .speed = blockText(block, "Speed"),
            .duplex = blockText(block, "Duplex"),
            .linkFailureCount = blockText(block, "Link Failure Count"),
            .permanentAddress = blockText(block, "Permanent HW addr"),
            .queueId = blockText(block, "Slave queue ID")};
}

}  // namespace

std::optional<BondingStatus> decodeBonding(const std::vector<Block>& blocks,
                                           std::size_t headerBlock) {
    BondingStatus bond;
    if (blocks.size() < headerBlock + 1 + bond.slaves.size()) {
        return std::nullopt;
    }
    const Block& header = blocks[headerBlock];
    bond.activeSlave = blockText(header, "Currently Active Slave");
    bond.miiStatus = blockText(header, "MII Status");
    bond.upDelay = blockInteger(header, "Up Delay (ms)", bond.unread);
    bond.downDelay = blockInteger(header, "Down Delay (ms)", bond.unread);
    for (std::size_t i = 0; i < bond.slaves.size(); ++i) {
        bond.slaves[i] = decodeSlave(blocks[headerBlock + 1 + i]);
    }
    return bond;
}

PortStatus decodePortStatus(std::string_view miiStatus) {
    if (miiStatus.starts_with("down")) {
        return PortStatus::linkDown;
    }
    return miiStatus.starts_with("up") ? PortStatus::linkUp : PortStatus::other;
}

PortStatuses computeStatuses(const EthernetPorts& ports, PortStatuses statuses,
                             const BondingStatus& bond) {
    for (std::size_t i = 0; i < ports.size(); ++i) {
        for (const BondSlave& slave : bond.slaves) {
            if (slave.interface == ports[i].interfaceName) {
                statuses[i] = decodePortStatus(slave.miiStatus);
            }
        }
        if (ports[i].interfaceName == bond.activeSlave && statuses[i] == PortStatus::linkUp) {
            statuses[i] = PortStatus::active;
        }
    }
    return statuses;
}

}  // namespace systemstate
