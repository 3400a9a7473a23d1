// What a set of each parameter does to the machine. Everything here runs on the thread that changed
// the parameter, inside the operation that set it.

#include <algorithm>

#include "systemstate/network_settings.h"
#include "systemstate/param_keys.h"
#include "systemstate/param_values.h"
#include "systemstate/places.h"
#include "systemstate/port_swap.h"
#include "systemstate/system_state.h"
#include "util/log.h"
#include "util/text.h"
#include "util/time_stamp.h"
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
        {kSshEnabledKey, &SystemState::switchService<&SystemState::switchSsh>},
        {kFtpEnabledKey, &SystemState::switchService<&SystemState::switchFtp>},
        {kAmbrixEnabledKey, &SystemState::switchService<&SystemState::switchAmbrix>},
        {kRestartNetworkKey, &SystemState::restartNetwork},
        {kGenerateReportKey, &SystemState::generateReport},
        {"system.serial0", &SystemState::takeConnection, false},
        {"system.serial1", &SystemState::takeConnection, false},
        {"system.serial2", &SystemState::takeConnection, false},
    };
    return kReactions;
}

void SystemState::valueChanged(ToskParam* param) {
    const std::string oid = param->oid().toString();
    util::logMessage(LOG_DEBUG, "SystemState::valueChanged, oid=%s, val=%s", oid.c_str(),
                     util::shownPayload(param->valueToString()).c_str());
    announce(*param);
    for (const Reaction& reaction : reactions()) {
        if (oid == reaction.oid) {
            (this->*reaction.carryOut)(*param);
        }
    }
}

bool SystemState::runsCommands(const ToskParam& param) const {
    const std::string oid = param.oid().toString();
    return std::ranges::any_of(reactions(), [&oid](const Reaction& reaction) {
        return reaction.runsCommands && oid == reaction.oid;
    });
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
    const auto held = [this](const char* key) {
        return static_cast<uint32_t>(integerOf(findParam(key)).value_or(0));
    };
    const NetworkSettings settings{held(kIpAddressKey), held(kNetmaskKey), held(kGatewayKey)};
    if (!areValid(settings)) {
        util::printTimeStamp();
        util::trace("IP Error: ip=%x, netmask=%x, gateway=%x\n", settings.ip, settings.netmask,
                    settings.gateway);
        return;
    }
    if (isPolling()) {
        check_ip(settings);
        return;
    }
    config_ip(settings.ip, settings.netmask, settings.gateway);
}

template <void (SystemState::*apply)(bool)>
void SystemState::switchService(ToskParam& param) {
    if (const std::optional<bool> enable = isNonZero(param)) {
        (this->*apply)(*enable);
    }
}

void SystemState::switchSsh(bool enable) {
    ::switchSsh(machine_, edition(), enable);
}

void SystemState::switchFtp(bool enable) {
    ::switchFtp(machine_, edition(), enable);
}

void SystemState::switchAmbrix(bool enable) {
    stopAmbrix(machine_, edition());
    if (enable) {
        ambrixStarted_ = true;
        startAmbrix(machine_, edition());
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
    setInteger(kGenerateReportKey, 0);
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
