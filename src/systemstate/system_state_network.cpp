// The frame's address settings: their file, and the services that live on them.

#include "systemstate/network_settings.h"
#include "systemstate/param_keys.h"
#include "systemstate/param_values.h"
#include "systemstate/places.h"
#include "systemstate/status_poll.h"
#include "systemstate/system_state.h"
#include "util/log.h"
#include "util/time_stamp.h"
#include "util/trace.h"

namespace {

// Serves one writer at a time; readers take what they find.
std::mutex& networkFileLock() {
    static std::mutex lock;
    return lock;
}

// What is logged when writing the file failed at a step.
struct FailureText {
    util::WriteFailure step;
    const char* text;
};

constexpr FailureText kFailureTexts[] = {
    {util::WriteFailure::write, "Error writing"},
    {util::WriteFailure::sync, "Error syncing"},
    {util::WriteFailure::close, "Error closing"},
    {util::WriteFailure::replace, "Error replacing"},
    {util::WriteFailure::syncDirectory, "Error syncing the directory of"},
};

// Empty when the parameter is missing or holds no address.
std::string dottedTextOf(const SystemState& state, const char* key) {
    const std::optional<int64_t> held = integerOf(state.findParam(key));
    if (!held) {
        return {};
    }
    const auto address = static_cast<uint32_t>(*held);
    if (!isValidAddress(address)) {
        util::printTimeStamp();
        util::trace("IP Address Error: %s=%x\n", key, address);
        return {};
    }
    return dottedText(address);
}

void logWriteFailure(util::WriteFailure step) {
    if (step == util::WriteFailure::open) {
        util::trace("Error opening %s for writing", kNetworkFile);
        util::logMessage(LOG_ERR, "Error opening %s for writing \n", kNetworkFile);
    }
    for (const FailureText& failure : kFailureTexts) {
        if (failure.step == step) {
            util::logMessage(LOG_ERR, "%s %s: %m\n", failure.text, kNetworkFile);
        }
    }
}

enum class FileOutcome {
    written,
    unwanted,  // the parameters hold no settings; the file is as it was
    failed,    // the same, because it could not be written
};

FileOutcome writeNetworkFile(const SystemState& state, const Machine& machine) {
    util::logMessage(LOG_INFO, "SystemState:writing network config\n");
    const std::lock_guard lock(networkFileLock());
    const std::string ip = dottedTextOf(state, kIpAddressKey);
    const std::string netmask = dottedTextOf(state, kNetmaskKey);
    const std::string gateway = dottedTextOf(state, kGatewayKey);
    if (ip.empty() || netmask.empty() || gateway.empty()) {
        util::logMessage(LOG_ERR, "Error loading network params.\n");
        return FileOutcome::unwanted;
    }
    const util::WriteFailure failure =
        machine.writeFile(kNetworkFile, renderNetworkConf(ip, netmask, gateway));
    if (failure == util::WriteFailure::none) {
        util::logMessage(LOG_INFO, "ok\n");
        return FileOutcome::written;
    }
    logWriteFailure(failure);
    // What the network is started on from here to the next power cut is in the file all the same.
    return failure == util::WriteFailure::syncDirectory ? FileOutcome::written
                                                        : FileOutcome::failed;
}

// The settings as the parameters show them; nothing when one shows a number that is wider than what
// went into the file, which the poll then corrects.
std::optional<NetworkSettings> shownSettings(const SystemState& state) {
    NetworkSettings settings;
    for (const auto& [key, setting] :
         {std::pair(kIpAddressKey, &settings.ip), std::pair(kNetmaskKey, &settings.netmask),
          std::pair(kGatewayKey, &settings.gateway)}) {
        const int64_t held = integerOf(state.findParam(key)).value_or(0);
        *setting = static_cast<uint32_t>(held);
        if (*setting != held) {
            return std::nullopt;
        }
    }
    return settings;
}

void runAll(Machine& machine, std::initializer_list<const char*> commands) {
    for (const char* const command : commands) {
        if (const int result = machine.run(command); result < 0) {
            util::trace("system returned %d\n", result);
        }
    }
}

// What announces the frame or serves at its address has to learn a new one. Ambrix is looked at and
// left alone.
void restartNetworkServices(Machine& machine, bool addressChanged) {
    runAll(machine, {kRestartNetworkService});
    if (addressChanged) {
        runAll(machine, {kRegisterLocationService, kRestartLocationService, kRestartView});
    }
    static_cast<void>(isServiceEnabled(machine, kAmbrixDisabledMarker));
}

void logStored(const NetworkSettings& stored) {
    util::logMessage(LOG_INFO, "ip address %s\n", dottedText(stored.ip).c_str());
    util::logMessage(LOG_INFO, "gateway_ip_address %s\n", dottedText(stored.gateway).c_str());
    util::logMessage(LOG_INFO, "subnet_mask %s\n", dottedText(stored.netmask).c_str());
}

// The settings in the file, if they are valid and not the wanted ones. Logs each step of the check.
std::optional<NetworkSettings> findSettingsToReplace(const SystemState& state,
                                                     const NetworkSettings& wanted) {
    util::logMessage(LOG_INFO, "SystemState:config_ip: checking ifconfig ip=%s sub=%s gw=%s...\n",
                     dottedText(wanted.ip).c_str(), dottedText(wanted.netmask).c_str(),
                     dottedText(wanted.gateway).c_str());
    NetworkSettings stored;
    state.get_net_settings(&stored.ip, &stored.netmask, &stored.gateway);
    // A missing or broken file is never replaced from the bus.
    if (!areValid(stored)) {
        util::logMessage(LOG_WARNING,
                         "SystemState: IP Address Check failed. Not Writing to network.conf.\n");
        return std::nullopt;
    }
    logStored(stored);
    if (stored == wanted) {
        util::logMessage(LOG_INFO, "no changes\n");
        return std::nullopt;
    }
    return stored;
}

}  // namespace

void SystemState::get_net_settings(uint32_t* ip, uint32_t* netmask, uint32_t* gateway) const {
    const std::optional<std::string> text = machine_.readFile(kNetworkFile);
    if (!text) {
        util::logMessage(
            LOG_CRIT, "WARNING: %s: vantor/etc/network.conf missing or unable to be opened\n",
            "void SystemState::get_net_settings(unsigned int*, unsigned int*, unsigned int*)");
        return;
    }
    const NetworkConf conf = decodeNetworkConf(*text);
    *ip = conf.ip.value_or(*ip);
    *netmask = conf.netmask.value_or(*netmask);
    *gateway = conf.gateway.value_or(*gateway);
}

void SystemState::check_ip(const NetworkSettings& wanted) const {
    static_cast<void>(findSettingsToReplace(*this, wanted));
}

int SystemState::config_ip(uint32_t ip, uint32_t netmask, uint32_t gateway) {
    const NetworkSettings wanted{ip, netmask, gateway};
    const std::optional<NetworkSettings> stored = findSettingsToReplace(*this, wanted);
    if (!stored) {
        return 1;
    }
    util::logMessage(LOG_INFO, "changed. restarting S40network and S81ambrix\n");
    const FileOutcome outcome = writeNetworkFile(*this, machine_);
    if (outcome == FileOutcome::failed) {
        return 1;
    }
    const std::optional<NetworkSettings> shown = shownSettings(*this);
    if (outcome == FileOutcome::written && shown) {
        poll_->noteWritten(*shown);
    }
    restartNetworkServices(machine_, stored->ip != wanted.ip);
    return 0;
}
