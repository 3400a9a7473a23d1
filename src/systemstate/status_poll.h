#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "systemstate/adc_reader.h"
#include "systemstate/battery_sampling.h"
#include "systemstate/block_file.h"
#include "systemstate/ethernet_ports.h"

namespace systemstate {

class Machine;
class NetworkConfig;
class ParameterStore;
class Product;
class ServiceControl;
struct BondingStatus;

// The refresh of the live parameters, one tick a second on the poll thread: Ambrix that shut itself
// off, the bonded ports, the network settings, the frame type, and the voltages. It reads files and
// changes nothing on the machine, but for the load that the battery is sampled under. A file that
// is missing or unusable leaves its parameters as they are; what cannot be read as an integer is
// logged when it appears and not again while it stays the same.
class StatusPoll {
  public:
    // The objects that the poll reads and publishes to.
    struct Parts {
        Machine& machine;
        const Product& product;
        EthernetPorts& ports;
        ParameterStore& parameters;
        ServiceControl& services;
        NetworkConfig& network;
    };

    // Keeps all of them.
    explicit StatusPoll(const Parts& parts);

    // One poll. Runs a command or two when the battery is sampled, every 151st time. Throws nothing
    // of its own.
    void tick();

  private:
    void followAmbrixShutOff();
    void refreshBond();
    void refreshPorts(const BondingStatus& bond);
    void publishPorts(const PortStatuses& before, const PortStatuses& now);
    void publishPort(std::size_t position, PortStatus before, PortStatus now);
    void refreshFrameType();
    void refreshVoltages();
    void publishSupplies();

    Machine& machine_;
    const Product& product_;
    EthernetPorts& ports_;
    ParameterStore& parameters_;
    ServiceControl& services_;
    NetworkConfig& network_;
    std::int64_t ticks_ = 0;
    AdcReader adc_;
    BatterySampling battery_;
    bool frameTypeKnown_ = false;
    std::string bondText_;  // published; the same text again brings nothing new
    std::vector<UnreadInteger> unreadOfBond_;
    std::vector<UnreadInteger> unreadOfFrame_;
};

}  // namespace systemstate
