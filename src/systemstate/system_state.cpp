#include "systemstate/system_state.h"

#include <utility>

#include "systemstate/catalogue.h"
#include "systemstate/param_keys.h"
#include "util/log.h"
#include "util/text.h"

SystemState::SystemState(const std::string& containerName, systemstate::Machine& machine)
    : ToskPersistedStructure(containerName),
      machine_(machine),
      product_(systemstate::readProduct(machine)),
      parameters_(*this, [this](ToskParam& param) { readingChanged(param); }),
      services_(machine, isBrio() ? systemstate::Edition::brio : systemstate::Edition::tessara),
      network_(machine, parameters_),
      reactions_({machine, product_, ethernetPorts_, serialPorts_, parameters_, services_, network_,
                  [this](const ToskParam& param) { announce(param); }}),
      poll_({machine, product_, ethernetPorts_, parameters_, services_, network_}) {}

const char* SystemState::getName() const {
    return "systemState";
}

void SystemState::setParamChanged_cb(ParamChanged callback) {
    paramChanged_ = std::move(callback);
}

void SystemState::updateRedundancy(const ControllerDetails& primary,
                                   const ControllerDetails& secondary) {
    masterDetails_ = {primary, secondary};
    parameters_.setInteger(systemstate::kActiveKeliKey, primary.active ? 0 : 1);
    parameters_.setText(systemstate::kPrimaryIpAddressKey, primary.ipAddress);
    parameters_.setInteger(systemstate::kPrimaryPresentKey, primary.present ? 1 : 0);
    parameters_.setInteger(systemstate::kPrimaryActiveKey, primary.active ? 1 : 0);
    parameters_.setText(systemstate::kPrimaryVersionKey, primary.version);
    parameters_.setText(systemstate::kSecondaryIpAddressKey, secondary.ipAddress);
    parameters_.setInteger(systemstate::kSecondaryPresentKey, secondary.present ? 1 : 0);
    parameters_.setInteger(systemstate::kSecondaryActiveKey, secondary.active ? 1 : 0);
    parameters_.setText(systemstate::kSecondaryVersionKey, secondary.version);
}

int SystemState::setFromRequest(ToskParam& param, const cJSON* value) {
    const systemstate::NetworkConfig::SetUnderWay set(network_, param);
    return param.setValueFromJSON(value);
}

void SystemState::valueChanged(ToskParam* param) {
    const systemstate::CatalogueRow* const row = systemstate::findRow(reportChange(*param));
    if (row != nullptr && row->reaction != nullptr) {
        reactions_.carryOut(*row->reaction, *param);
    }
}

void SystemState::readingChanged(ToskParam& param) {
    if (systemstate::NetworkConfig::isSetting(reportChange(param))) {
        network_.check();
    }
}

bool SystemState::runsCommands(const ToskParam& param) const {
    const systemstate::CatalogueRow* const row = systemstate::findRow(param.oid().toString());
    return row != nullptr && row->reaction != nullptr && row->reaction->runsCommands;
}

// Logs the change and sends a notification; returns the parameter's identifier.
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

void SystemState::get_net_settings(uint32_t* ip, uint32_t* netmask, uint32_t* gateway) const {
    network_.get_net_settings(ip, netmask, gateway);
}

int SystemState::config_ip(uint32_t ip, uint32_t netmask, uint32_t gateway) {
    return network_.config_ip(ip, netmask, gateway);
}
