// Each step of a tick reads one file, has it decoded, and publishes what differs from the last
// tick. All port statuses are stored before the first is published, so that whoever follows one
// change sees the others too.

#include "systemstate/status_poll.h"

#include <array>
#include <optional>
#include <string>
#include <utility>

#include "systemstate/adc_samples.h"
#include "systemstate/bonding_status.h"
#include "systemstate/frame_detection.h"
#include "systemstate/machine.h"
#include "systemstate/network_config.h"
#include "systemstate/param_keys.h"
#include "systemstate/parameter_store.h"
#include "systemstate/paths.h"
#include "systemstate/product.h"
#include "systemstate/service_control.h"
#include "util/log.h"
#include "util/text.h"

namespace systemstate {

namespace {

constexpr std::size_t kMaxShownBytes = 64;
// Several times the size of the status of two ports.
constexpr std::size_t kMaxKeptBytes = 4096;
constexpr std::size_t kPsu1Channel = 0;
constexpr std::size_t kPsu2Channel = 8;

// A failure that lasts would otherwise be logged every second.
void reportUnread(const char* file, std::vector<UnreadInteger> unread,
                  std::vector<UnreadInteger>& reported) {
    if (unread == reported) {
        return;
    }
    for (const UnreadInteger& value : unread) {
        util::logMessage(LOG_ERR, "%s: %s is no integer: \"%s\"\n", file, value.key.c_str(),
                         util::shownPayload(value.text.substr(0, kMaxShownBytes)).c_str());
    }
    reported = std::move(unread);
}

PortStatuses readStatuses(const EthernetPorts& ports) {
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

}  // namespace

StatusPoll::StatusPoll(const Parts& parts)
    : machine_(parts.machine),
      product_(parts.product),
      ports_(parts.ports),
      parameters_(parts.parameters),
      services_(parts.services),
      network_(parts.network),
      adc_(parts.machine),
      battery_(parts.machine, parts.product, parts.parameters) {}

void StatusPoll::tick() {
    followAmbrixShutOff();
    if (product_.isBrio()) {
        return;
    }
    refreshBond();
    network_.publishFile();
    refreshFrameType();
    if (ticks_ > 0) {
        refreshVoltages();
    }
    ++ticks_;
}

// As after a set to 0, Ambrix is stopped once more when the switch has changed.
void StatusPoll::followAmbrixShutOff() {
    if (services_.stopDisabledAmbrix() && parameters_.publishInteger(kAmbrixEnabledKey, 0)) {
        services_.stopAmbrixInTime();
    }
}

void StatusPoll::refreshBond() {
    // Whatever is called a Tessara has the copy; only the two known frames write it without the
    // driver's first block.
    const char* file = product_.isNamedTessara() ? kTessaraBondingFile : kBondingFile;
    std::string text = machine_.readFile(file).value_or("");
    if (text == bondText_) {
        return;
    }
    std::optional<BondingStatus> bond =
        decodeBonding(decodeBlockFile(text),
                      product_.isTessaraFrame() ? kTessaraHeaderBlock : kDriverHeaderBlock);
    if (bond) {
        reportUnread(file, std::move(bond->unread), unreadOfBond_);
        refreshPorts(*bond);
    }
    bondText_ = text.size() <= kMaxKeptBytes ? std::move(text) : std::string();
}

void StatusPoll::refreshPorts(const BondingStatus& bond) {
    const PortStatuses before = readStatuses(ports_);
    const PortStatuses now = computeStatuses(ports_, before, bond);
    // All of them first: a listener to one change then sees the others as they are.
    setStatuses(ports_, now);
    try {
        publishPorts(before, now);
    } catch (...) {
        setStatuses(ports_, before);  // so that the next poll finds the changes again
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
        parameters_.publishInteger(kActiveEthernetKey, *becameActive);
    }
}

void StatusPoll::publishPort(std::size_t position, PortStatus before, PortStatus now) {
    util::logMessage(LOG_INFO, "ETHERNET STATUS CHANGED : %s, was:%d, now:%d\n",
                     ports_[position].interfaceName.c_str(), static_cast<int>(before),
                     static_cast<int>(now));
    parameters_.publishInteger(portStatusKey(position), static_cast<int>(now));
}

void StatusPoll::refreshFrameType() {
    if (frameTypeKnown_ || !product_.isTessaraFrame()) {
        return;
    }
    std::optional<FrameDetection> frame =
        decodeFrameDetection(decodeBlockFile(machine_.readFile(kFrameDetectionFile).value_or("")));
    if (!frame) {
        return;
    }
    reportUnread(kFrameDetectionFile, std::move(frame->unread), unreadOfFrame_);
    if (frame->frameType >= 0) {
        parameters_.publishInteger(kFrameTypeKey, frame->frameType);
        frameTypeKnown_ = true;
    }
}

void StatusPoll::refreshVoltages() {
    battery_.read(adc_);
    publishSupplies();
    battery_.advance();
}

void StatusPoll::publishSupplies() {
    const auto& channels = adc_.samples().channels;
    parameters_.publishFloat(kPsu1VoltageKey, psuVolts(channels[kPsu1Channel]));
    parameters_.publishFloat(kPsu2VoltageKey, psuVolts(channels[kPsu2Channel]));
}

}  // namespace systemstate
