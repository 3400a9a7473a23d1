// What a set of each parameter does to the machine: one row of a table each, found by the
// parameter's identifier. It runs on the thread that set the parameter, inside the operation that
// set it. A reading that the poll publishes is announced, and carries out nothing.

#include <algorithm>

#include "systemstate/param_keys.h"
#include "systemstate/param_values.h"
#include "systemstate/places.h"
#include "systemstate/port_swap.h"
#include "systemstate/system_state.h"
#include "util/log.h"
#include "util/text.h"
#include "util/trace.h"

struct SystemState::Reaction {
    const char* oid;
    void (SystemState::*carryOut)(ToskParam& param);
    bool runsCommands = true;
};

std::span<const SystemState::Reaction> SystemState::reactions() {
    static constexpr Reaction kReactions[] = {
        {kActiveEthernetKey, &SystemState::setActiveEthernet},
        {kIpAddressKey, &SystemState::applyNetworkSettings},
        {kNetmaskKey, &SystemState::applyNetworkSettings},
        {kGatewayKey, &SystemState::applyNetworkSettings},
        {kSshEnabledKey, &SystemState::switchService<&ServiceControl::setSshRunning>},
        {kFtpEnabledKey, &SystemState::switchService<&ServiceControl::setFtpRunning>},
        {kAmbrixEnabledKey, &SystemState::switchService<&ServiceControl::setAmbrixRunning>},
        {kRestartNetworkKey, &SystemState::restartNetwork},
        {kGenerateReportKey, &SystemState::generateReport},
        {"system.serial0", &SystemState::takeConnection, false},
        {"system.serial1", &SystemState::takeConnection, false},
        {"system.serial2", &SystemState::takeConnection, false},
    };
    return kReactions;
}

void SystemState::valueChanged(ToskParam* param) {
    const std::string oid = reportChange(*param);
    for (const Reaction& reaction : reactions()) {
        if (oid == reaction.oid) {
            (this->*reaction.carryOut)(*param);
        }
    }
}

void SystemState::readingChanged(ToskParam& param) {
    if (NetworkConfig::isSetting(reportChange(param))) {
        network_.check();
    }
}

bool SystemState::runsCommands(const ToskParam& param) const {
    const std::string oid = param.oid().toString();
    return std::ranges::any_of(reactions(), [&oid](const Reaction& reaction) {
        return reaction.runsCommands && oid == reaction.oid;
    });
}

// Logs and announces the change; gives the parameter's identifier.
std::string SystemState::reportChange(const ToskParam& param) {
    std::string oid = param.oid().toString();
    util::logMessage(LOG_DEBUG, "SystemState::valueChanged, oid=%s, val=%s", oid.c_str(),
                     util::shownPayload(param.valueToString()).c_str());
    announce(param);
    return oid;
}

void SystemState::announce(const ToskParam& param) {
    if (paramChanged_) {
        paramChanged_(param);
    }
}

void SystemState::setActiveEthernet(ToskParam& param) {
    const std::optional<int64_t> position = integerOf(&param);
    if (!position) {
        return;
    }
    if (static_cast<uint64_t>(*position) >= ethernetPorts_.size()) {
        util::logMessage(LOG_INFO, "Set Active Ethernet invalid interface index: %lld\n",
                         static_cast<long long>(*position));
        setInPlace(param, activePortIndex(ethernetPorts_));
        announce(param);
        return;
    }
    const EthernetInterfaceStatus& port = ethernetPorts_[static_cast<std::size_t>(*position)];
    if (port.status.get() != PortStatus::active) {
        swapActivePort(machine_, product_, port);
    }
}

void SystemState::applyNetworkSettings(ToskParam& /*param*/) {
    network_.apply();
}

template <void (ServiceControl::*setRunning)(bool)>
void SystemState::switchService(ToskParam& param) {
    if (const std::optional<bool> running = isNonZero(param)) {
        (services_.*setRunning)(*running);
    }
}

void SystemState::restartNetwork(ToskParam& param) {
    const int64_t value = integerOf(&param).value_or(0);
    util::trace("%s changed, value:%lld\n", kRestartNetworkKey, static_cast<long long>(value));
    if (value == 0) {
        return;
    }
    if (machine_.run(kRestartNetworking) != 0) {
        util::logMessage(LOG_ERR, "Error restarting networking - %m");
    }
    setInPlace(param, 0);
}

void SystemState::generateReport(ToskParam& param) {
    const int64_t value = integerOf(&param).value_or(0);
    util::trace("%s changed, value:%lld\n", kGenerateReportKey, static_cast<long long>(value));
    if (value == 0) {
        return;
    }
    if (machine_.run(kGenerateReport) != 0) {
        util::logMessage(LOG_ERR, "Error calling generateReport - %m");
    }
    parameters_.setInteger(kGenerateReportKey, 0);
}

void SystemState::takeConnection(ToskParam& param) {
    const std::string oid = param.oid().toString();
    for (SerialPort& port : serialPorts_) {
        if (port.oid == oid) {
            util::trace("%s == %s\n", port.oid.c_str(), oid.c_str());
            takeConnectionPoint(port, param);
        }
    }
}
