#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "systemstate/adc_reader.h"
#include "systemstate/block_file.h"
#include "systemstate/ethernet_interface_status.h"
#include "systemstate/network_settings.h"
#include "util/relaxed.h"

class Machine;
class SystemState;
struct BondingStatus;

// The refresh of the live parameters, one tick a second on the poll thread: Ambrix that shut itself
// off, the bonded ports, the network settings, the frame type, and the voltages. It reads files and
// changes nothing on the machine, but for the load that the battery is sampled under. A file that
// is missing or unusable leaves its parameters as they are; what cannot be read as an integer is
// logged when it appears and not again while it stays the same.
class StatusPoll {
  public:
    // Keeps both; `state` owns the poll and may still be under construction.
    StatusPoll(SystemState& state, Machine& machine);

    // One poll. Runs a command or two when the battery is sampled, every 151st time. Throws nothing
    // of its own.
    void tick();

    // The device itself wrote these settings to network.conf, so the file is known to have said
    // them even when it is edited again before the next poll. Main thread, in the settings turn.
    void noteWritten(const NetworkSettings& written);

  private:
    void followAmbrixShutOff();
    void refreshBond();
    void refreshPorts(const BondingStatus& bond);
    void publishPorts(const PortStatuses& before, const PortStatuses& now);
    void publishPort(std::size_t position, PortStatus before, PortStatus now);
    void refreshNetworkSettings();
    void publishAddress(const char* key, std::uint32_t address,
                        util::Relaxed<std::uint32_t>& published);
    void refreshFrameType();
    void refreshVoltages();
    void switchBatteryLoad(const char* command);
    void publishBattery();
    void publishSupplies();

    SystemState& state_;
    Machine& machine_;
    std::int64_t ticks_ = 0;
    int batteryCycle_ = 0;  // 0 to 150; the battery is sampled at 0
    AdcReader adc_;
    struct InFile {
        util::Relaxed<std::uint32_t> ip;
        util::Relaxed<std::uint32_t> netmask;
        util::Relaxed<std::uint32_t> gateway;
    };
    InFile published_;  // what network.conf said last
    bool frameTypeKnown_ = false;
    std::vector<UnreadInteger> unreadOfBond_;
    std::vector<UnreadInteger> unreadOfFrame_;
};
