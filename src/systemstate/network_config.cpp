// A set of one of the three parameters is checked against the file, written to it and applied by
// restarting services, on the main thread. The poll thread looks at the file once a second and
// publishes what changed in it, with the same checks and no more. What the daemon wrote itself is
// noted as known, so that the poll takes neither its own write for an edit nor an edit for nothing.

#include "systemstate/network_config.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <utility>

#include "model/param_values.h"
#include "systemstate/machine.h"
#include "systemstate/param_keys.h"
#include "systemstate/parameter_store.h"
#include "systemstate/paths.h"
#include "systemstate/service_control.h"
#include "util/log.h"
#include "util/time_stamp.h"
#include "util/trace.h"

namespace systemstate {

namespace {

constexpr const char* kKeys[] = {kIpAddressKey, kNetmaskKey, kGatewayKey};

// Serves one writer at a time; readers take what they find.
std::mutex& networkFileLock() {
    static std::mutex lock;
    return lock;
}

// The log text for a failure to write the file, by step.
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
std::string formatSetting(const ParameterStore& parameters, const char* key) {
    const std::optional<int64_t> held = model::readInteger(parameters.find(key));
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

FileOutcome writeNetworkFile(const ParameterStore& parameters, const Machine& machine) {
    util::logMessage(LOG_INFO, "SystemState:writing network config\n");
    const std::lock_guard lock(networkFileLock());
    const std::string ip = formatSetting(parameters, kIpAddressKey);
    const std::string netmask = formatSetting(parameters, kNetmaskKey);
    const std::string gateway = formatSetting(parameters, kGatewayKey);
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
    // The new settings are in the file nevertheless, at least until the next power cut.
    return failure == util::WriteFailure::syncDirectory ? FileOutcome::written
                                                        : FileOutcome::failed;
}

// The settings as the parameters show them; nothing when one shows a number that is wider than what
// went into the file, which the poll then corrects.
std::optional<NetworkSettings> shownSettings(const ParameterStore& parameters) {
    NetworkSettings settings;
    for (const auto& [key, setting] :
         {std::pair(kIpAddressKey, &settings.ip), std::pair(kNetmaskKey, &settings.netmask),
          std::pair(kGatewayKey, &settings.gateway)}) {
        const int64_t held = model::readInteger(parameters.find(key)).value_or(0);
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

// Services that publish or use the address must learn a new one. The state of Ambrix is read, but
// has no effect.
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

void unlockIfOwned(std::unique_lock<std::mutex>& lock) {
    if (lock.owns_lock()) {
        lock.unlock();
    }
}

}  // namespace

NetworkConfig::NetworkConfig(Machine& machine, ParameterStore& parameters)
    : machine_(machine), parameters_(parameters) {}

NetworkConfig::SetUnderWay::SetUnderWay(NetworkConfig& config, const ToskParam& param)
    : lock_(config.setLock_) {
    for (const char* const key : kKeys) {
        if (config.parameters_.find(key) == &param) {
            lock_.lock();
        }
    }
}

NetworkConfig::SetUnderWay::~SetUnderWay() {
    unlockIfOwned(lock_);
}

bool NetworkConfig::isSetting(std::string_view oid) {
    return std::ranges::any_of(kKeys, [oid](const char* key) { return oid == key; });
}

NetworkSettings NetworkConfig::read() const {
    NetworkSettings settings;
    get_net_settings(&settings.ip, &settings.netmask, &settings.gateway);
    return settings;
}

void NetworkConfig::get_net_settings(uint32_t* ip, uint32_t* netmask, uint32_t* gateway) const {
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

void NetworkConfig::apply() {
    if (const std::optional<NetworkSettings> wanted = findValidSettings()) {
        config_ip(wanted->ip, wanted->netmask, wanted->gateway);
    }
}

void NetworkConfig::check() const {
    if (const std::optional<NetworkSettings> wanted = findValidSettings()) {
        static_cast<void>(findSettingsToReplace(*wanted));
    }
}

int NetworkConfig::config_ip(uint32_t ip, uint32_t netmask, uint32_t gateway) {
    const NetworkSettings wanted{ip, netmask, gateway};
    const std::optional<NetworkSettings> stored = findSettingsToReplace(wanted);
    if (!stored) {
        return 1;
    }
    util::logMessage(LOG_INFO, "changed. restarting S40network and S81ambrix\n");
    const FileOutcome outcome = writeNetworkFile(parameters_, machine_);
    if (outcome == FileOutcome::failed) {
        return 1;
    }
    const std::optional<NetworkSettings> shown = shownSettings(parameters_);
    if (outcome == FileOutcome::written && shown) {
        noteWritten(*shown);
    }
    unlockIfOwned(setLock_);
    restartNetworkServices(machine_, stored->ip != wanted.ip);
    return 0;
}

void NetworkConfig::publishFile() {
    const std::unique_lock<std::mutex> lock(mutex_, std::try_to_lock);
    if (!lock.owns_lock()) {
        return;
    }
    const NetworkSettings inFile = read();
    publishSetting(kIpAddressKey, inFile.ip, known_.ip);
    publishSetting(kNetmaskKey, inFile.netmask, known_.netmask);
    publishSetting(kGatewayKey, inFile.gateway, known_.gateway);
}

void NetworkConfig::publishSetting(const char* key, uint32_t address,
                                   util::Relaxed<uint32_t>& known) {
    if (address != known.get()) {
        parameters_.publishInteger(key, address);
        known.set(address);
    }
}

// The file is known to have said this even when it is edited again before the next poll.
void NetworkConfig::noteWritten(const NetworkSettings& written) {
    known_.ip.set(written.ip);
    known_.netmask.set(written.netmask);
    known_.gateway.set(written.gateway);
}

std::optional<NetworkSettings> NetworkConfig::findValidSettings() const {
    const auto held = [this](const char* key) {
        return static_cast<uint32_t>(model::readInteger(parameters_.find(key)).value_or(0));
    };
    const NetworkSettings settings{held(kIpAddressKey), held(kNetmaskKey), held(kGatewayKey)};
    if (areValid(settings)) {
        return settings;
    }
    util::printTimeStamp();
    util::trace("IP Error: ip=%x, netmask=%x, gateway=%x\n", settings.ip, settings.netmask,
                settings.gateway);
    return std::nullopt;
}

std::optional<NetworkSettings> NetworkConfig::findSettingsToReplace(
    const NetworkSettings& wanted) const {
    util::logMessage(LOG_INFO, "SystemState:config_ip: checking ifconfig ip=%s sub=%s gw=%s...\n",
                     dottedText(wanted.ip).c_str(), dottedText(wanted.netmask).c_str(),
                     dottedText(wanted.gateway).c_str());
    const NetworkSettings stored = read();
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

}  // namespace systemstate
