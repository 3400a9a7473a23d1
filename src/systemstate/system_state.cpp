#include "systemstate/system_state.h"

#include <utility>

#include "systemstate/param_keys.h"

SystemState::SystemState(const std::string& containerName, Machine& machine)
    : ToskPersistedStructure(containerName),
      machine_(machine),
      product_(readProduct(machine)),
      parameters_(*this, [this](ToskParam& param) { readingChanged(param); }),
      services_(machine, isBrio() ? Edition::brio : Edition::tessara),
      network_(machine, parameters_),
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

void SystemState::get_net_settings(uint32_t* ip, uint32_t* netmask, uint32_t* gateway) const {
    network_.get_net_settings(ip, netmask, gateway);
}

int SystemState::config_ip(uint32_t ip, uint32_t netmask, uint32_t gateway) {
    return network_.config_ip(ip, netmask, gateway);
}
