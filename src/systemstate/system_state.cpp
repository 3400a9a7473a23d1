#include "systemstate/system_state.h"

#include <utility>

#include "systemstate/catalogue.h"
#include "systemstate/param_keys.h"
#include "util/log.h"
#include "util/text.h"

using namespace systemstate;

SystemState::SystemState(const std::string& containerName, Machine& machine)
    : ToskPersistedStructure(containerName),
      machine_(machine),
      product_(readProduct(machine)),
      parameters_(*this, [this](ToskParam& param) { readingChanged(param); }),
      services_(machine, isBrio() ? Edition::brio : Edition::tessara),
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
    parameters_.setInteger(kActiveKeliKey, primary.active ? 0 : 1);
    parameters_.setText(kPrimaryIpAddressKey, primary.ipAddress);
    parameters_.setInteger(kPrimaryPresentKey, primary.present ? 1 : 0);
    parameters_.setInteger(kPrimaryActiveKey, primary.active ? 1 : 0);
    parameters_.setText(kPrimaryVersionKey, primary.version);
    parameters_.setText(kSecondaryIpAddressKey, secondary.ipAddress);
    parameters_.setInteger(kSecondaryPresentKey, secondary.present ? 1 : 0);
    parameters_.setInteger(kSecondaryActiveKey, secondary.active ? 1 : 0);
    parameters_.setText(kSecondaryVersionKey, secondary.version);
}

int SystemState::setFromRequest(ToskParam& param, const cJSON* value) {
    const NetworkConfig::SetUnderWay set(network_, param);
    return param.setValueFromJSON(value);
}

void SystemState::valueChanged(ToskParam* param) {
    const CatalogueRow* const row = findRow(reportChange(*param));
    if (row != nullptr && row->reaction != nullptr) {
        reactions_.carryOut(*row->reaction, *param);
    }
}

void SystemState::readingChanged(ToskParam& param) {
    if (NetworkConfig::isSetting(reportChange(param))) {
        network_.check();
    }
}

bool SystemState::runsCommands(const ToskParam& param) const {
    const CatalogueRow* const row = findRow(param.oid().toString());
    return row != nullptr && row->reaction != nullptr && row->reaction->runsCommands;
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

void SystemState::get_net_settings(uint32_t* ip, uint32_t* netmask, uint32_t* gateway) const {
    network_.get_net_settings(ip, netmask, gateway);
}

int SystemState::config_ip(uint32_t ip, uint32_t netmask, uint32_t gateway) {
    return network_.config_ip(ip, netmask, gateway);
}
