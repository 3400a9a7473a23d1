#include "systemstate/status_poll.h"

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "systemstate/bonding_status.h"
#include "systemstate/frame_detection.h"
#include "systemstate/machine.h"
#include "systemstate/param_keys.h"
#include "systemstate/places.h"
#include "systemstate/service_switches.h"
#include "systemstate/system_state.h"
#include "systemstate/xadc_dump.h"
#include "util/log.h"
#include "util/text.h"
#include "util/trace.h"

namespace {

constexpr int kLastBatteryCycle = 150;
constexpr std::chrono::milliseconds kBatterySettleTime{25};
constexpr std::size_t kMostShown = 64;
constexpr std::size_t kPsu1Channel = 0;
constexpr std::size_t kPsu2Channel = 8;

// A failure that lasts would otherwise be told every second.
void reportUnread(const char* file, std::vector<UnreadInteger> unread,
                  std::vector<UnreadInteger>& reported) {
    if (unread == reported) {
        return;
    }
    for (const UnreadInteger& value : unread) {
        util::logMessage(LOG_ERR, "%s: %s is no integer: \"%s\"\n", file, value.key.c_str(),
                         util::shownPayload(value.text.substr(0, kMostShown)).c_str());
    }
    reported = std::move(unread);
}

PortStatuses statusesOf(const EthernetPorts& ports) {
    PortStatuses statuses;
    for (std::size_t i = 0; i < ports.size(); ++i) {
        statuses[i] = ports[i].status.get();
    }
    return statuses;
}

void setStatuses(EthernetPorts& ports, const PortStatuses& statuses) {
    for (std::size_t i = 0; i < ports.size(); ++i) {
        ports[i].status.set(statuses[i]);
    }
}

// What becomes of the statuses so far; a port that is no slave of the bond keeps its own.
PortStatuses nextStatuses(const EthernetPorts& ports, PortStatuses statuses,
                          const BondingStatus& bond) {
    for (std::size_t i = 0; i < ports.size(); ++i) {
        for (const BondSlave& slave : bond.slaves) {
            if (slave.interface == ports[i].interfaceName) {
                statuses[i] = portStatusOf(slave.miiStatus);
            }
        }
        if (ports[i].interfaceName == bond.activeSlave && statuses[i] == PortStatus::linkUp) {
            statuses[i] = PortStatus::active;
        }
    }
    return statuses;
}

BatteryWiring wiringOf(const Product& product) {
    if (product.isTessaraFrame()) {
        return BatteryWiring::tessara;
    }
    return product.isKeli() ? BatteryWiring::keli : BatteryWiring::other;
}

BatterySource batterySourceOf(const Product& product) {
    return wiringOf(product) == BatteryWiring::other ? BatterySource::channel
                                                     : BatterySource::dedicatedInput;
}

}  // namespace

StatusPoll::StatusPoll(SystemState& state, Machine& machine)
    : state_(state), machine_(machine), adc_(machine) {}

void StatusPoll::tick() {
    followAmbrixShutOff();
    if (state_.isBrio()) {
        return;
    }
    refreshBond();
    refreshNetworkSettings();
    refreshFrameType();
    if (ticks_ > 0) {
        refreshVoltages();
    }
    ++ticks_;
}

// Another program may disable Ambrix for good; its marker is all that is seen of that. The flag is
// lowered first: a set that starts Ambrix meanwhile raises it again, and the next poll sees to
// that.
void StatusPoll::followAmbrixShutOff() {
    if (state_.ambrixStarted() && machine_.exists(kAmbrixDisabledMarker)) {
        state_.forgetAmbrixStarted();
        stopAmbrixInTime(machine_, state_.edition());
        state_.setInteger(kAmbrixEnabledKey, 0);
    }
}

void StatusPoll::refreshBond() {
    // Whatever is called a Tessara has the copy; only the two known frames write it without the
    // driver's first block.
    const char* file = state_.product().isNamedTessara() ? kTessaraBondingFile : kBondingFile;
    std::optional<BondingStatus> bond =
        decodeBonding(decodeBlockFile(machine_.readFile(file).value_or("")),
                      state_.isTessaraFrame() ? kTessaraHeaderBlock : kDriverHeaderBlock);
    if (bond) {
        reportUnread(file, std::move(bond->unread), unreadOfBond_);
        refreshPorts(*bond);
    }
}

void StatusPoll::refreshPorts(const BondingStatus& bond) {
    EthernetPorts& ports = state_.ethernetPorts();
    const PortStatuses before = statusesOf(ports);
    const PortStatuses now = nextStatuses(ports, before, bond);
    // All of them first: whoever hears of one change sees the others as they are.
    setStatuses(ports, now);
    try {
        publishPorts(before, now);
    } catch (...) {
        setStatuses(ports, before);  // so that the next poll finds the changes again
        throw;
    }
}

void StatusPoll::publishPorts(const PortStatuses& before, const PortStatuses& now) {
    std::optional<std::int32_t> becameActive;
    for (std::size_t i = 0; i < now.size(); ++i) {
        if (now[i] != before[i]) {
            publishPort(i, before[i], now[i]);
            if (now[i] == PortStatus::active) {
                becameActive = static_cast<std::int32_t>(i);
            }
        }
    }
    if (becameActive) {
        state_.setInteger(kActiveEthernetKey, *becameActive);
    }
}

void StatusPoll::publishPort(std::size_t position, PortStatus before, PortStatus now) {
    util::logMessage(LOG_INFO, "ETHERNET STATUS CHANGED : %s, was:%d, now:%d\n",
                     state_.ethernetPorts()[position].interfaceName.c_str(),
                     static_cast<int>(before), static_cast<int>(now));
    state_.setInteger(portStatusKey(position), static_cast<int>(now));
}

void StatusPoll::refreshNetworkSettings() {
    // A set request that is being carried out comes first; the file can wait for the next tick.
    const std::unique_lock<std::mutex> turn = state_.trySettingsTurn();
    if (!turn.owns_lock()) {
        return;
    }
    NetworkSettings inFile;
    state_.get_net_settings(&inFile.ip, &inFile.netmask, &inFile.gateway);
    publishAddress(kIpAddressKey, inFile.ip, published_.ip);
    publishAddress(kNetmaskKey, inFile.netmask, published_.netmask);
    publishAddress(kGatewayKey, inFile.gateway, published_.gateway);
}

void StatusPoll::publishAddress(const char* key, std::uint32_t address,
                                util::Relaxed<std::uint32_t>& published) {
    if (address != published.get()) {
        state_.setInteger(key, address);
        published.set(address);
    }
}

void StatusPoll::noteWritten(const NetworkSettings& written) {
    published_.ip.set(written.ip);
    published_.netmask.set(written.netmask);
    published_.gateway.set(written.gateway);
}

void StatusPoll::refreshFrameType() {
    if (frameTypeKnown_ || !state_.isTessaraFrame()) {
        return;
    }
    std::optional<FrameDetection> frame =
        decodeFrameDetection(decodeBlockFile(machine_.readFile(kFrameDetectionFile).value_or("")));
    if (!frame) {
        return;
    }
    reportUnread(kFrameDetectionFile, std::move(frame->unread), unreadOfFrame_);
    if (frame->frameType >= 0) {
        state_.setInteger(kFrameTypeKey, frame->frameType);
        frameTypeKnown_ = true;
    }
}

void StatusPoll::refreshVoltages() {
    const bool sampleBattery = batteryCycle_ == 0;
    if (sampleBattery) {
        util::logMessage(LOG_INFO, "Battery Sample = ON\n");
        switchBatteryLoad(kBatteryLoadOn);
        machine_.pause(kBatterySettleTime);
    }
    adc_.read(batterySourceOf(state_.product()));
    if (sampleBattery) {
        switchBatteryLoad(kBatteryLoadOff);
        util::logMessage(LOG_INFO, "Battery Sample = OFF\n");
        publishBattery();
    }
    publishSupplies();
    batteryCycle_ = batteryCycle_ == kLastBatteryCycle ? 0 : batteryCycle_ + 1;
}

void StatusPoll::switchBatteryLoad(const char* command) {
    const int result = machine_.run(command, TimeLimit::fiveSeconds);
    if (result < 0) {
        util::trace("system returned %d\n", result);
    }
}

void StatusPoll::publishBattery() {
    const std::int32_t sample = adc_.samples().channels[kBatteryChannel];
    util::logMessage(LOG_INFO, "sec[%d]  ADC CHAN %d=%d\n", batteryCycle_,
                     static_cast<int>(kBatteryChannel), sample);
    const double volts = batteryVolts(sample, wiringOf(state_.product()));
    state_.setFloat(kBattVoltageKey, volts);
    util::trace("BATT %f\n", volts);
}

void StatusPoll::publishSupplies() {
    const auto& channels = adc_.samples().channels;
    state_.setFloat(kPsu1VoltageKey, psuVolts(channels[kPsu1Channel]));
    state_.setFloat(kPsu2VoltageKey, psuVolts(channels[kPsu2Channel]));
}
