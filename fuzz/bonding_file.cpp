// Whatever stands in the bonding file: blocks are never empty, keys and values hold no separators,
// and what could not be read as an integer counts as -1.

#include "fuzz_target.h"
#include "systemstate/bonding_status.h"

namespace {

void checkBlocks(const std::vector<systemstate::Block>& blocks) {
    for (const systemstate::Block& block : blocks) {
        require(!block.empty());
        for (const auto& [key, value] : block) {
            require(key.find_first_of(":\n") == std::string::npos);
            require(value.find('\n') == std::string::npos);
        }
    }
}

void checkBond(const std::vector<systemstate::Block>& blocks, size_t headerBlock) {
    const std::optional<systemstate::BondingStatus> bond =
        systemstate::decodeBonding(blocks, headerBlock);
    require(bond.has_value() == (blocks.size() >= headerBlock + 3));
    if (bond) {
        for (const systemstate::UnreadInteger& value : bond->unread) {
            require((value.key == "Up Delay (ms)" ? bond->upDelay : bond->downDelay) == -1);
        }
        for (const systemstate::BondSlave& slave : bond->slaves) {
            require(systemstate::decodePortStatus(slave.miiStatus) !=
                    systemstate::PortStatus::active);
        }
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::vector<systemstate::Block> blocks = systemstate::decodeBlockFile(textOf(data, size));
    checkBlocks(blocks);
    checkBond(blocks, systemstate::kDriverHeaderBlock);
    checkBond(blocks, systemstate::kTessaraHeaderBlock);
    return 0;
}
