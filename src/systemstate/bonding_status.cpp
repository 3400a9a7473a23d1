#include "systemstate/bonding_status.h"

namespace systemstate {

namespace {

struct SlaveKey {
    const char* name;
    std::string BondSlave::*text;
};

constexpr SlaveKey kSlaveKeys[] = {
    {"Slave Interface", &BondSlave::interface},
    {"MII Status", &BondSlave::miiStatus},
    {"Speed", &BondSlave::speed},
    {"Duplex", &BondSlave::duplex},
    {"Link Failure Count", &BondSlave::linkFailureCount},
    {"Permanent HW addr", &BondSlave::permanentAddress},
    {"Slave queue ID", &BondSlave::queueId},
};

void decodeSlave(BondSlave& slave, const Block& block) {
    for (const SlaveKey& key : kSlaveKeys) {
        slave.*key.text = blockText(block, key.name);
    }
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
        decodeSlave(bond.slaves[i], blocks[headerBlock + 1 + i]);
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
