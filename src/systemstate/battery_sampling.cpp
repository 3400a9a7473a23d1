#include "systemstate/battery_sampling.h"

#include <chrono>
#include <cstdint>

#include "systemstate/adc_reader.h"
#include "systemstate/machine.h"
#include "systemstate/param_keys.h"
#include "systemstate/parameter_store.h"
#include "systemstate/paths.h"
#include "systemstate/product.h"
#include "util/log.h"
#include "util/trace.h"

namespace systemstate {

namespace {

constexpr int kLastCycle = 150;
constexpr std::chrono::milliseconds kSettleTime{25};

BatteryWiring batteryWiring(const Product& product) {
    if (product.isTessaraFrame()) {
        return BatteryWiring::tessara;
    }
    return product.isKeli() ? BatteryWiring::keli : BatteryWiring::other;
}

BatterySource batterySource(const Product& product) {
    return batteryWiring(product) == BatteryWiring::other ? BatterySource::channel
                                                          : BatterySource::dedicatedInput;
}

}  // namespace

BatterySampling::BatterySampling(Machine& machine, const Product& product,
                                 ParameterStore& parameters)
    : machine_(machine), product_(product), parameters_(parameters) {}

void BatterySampling::read(AdcReader& adc) {
    const bool sampled = cycle_ == 0;
    if (sampled) {
        util::logMessage(LOG_INFO, "Battery Sample = ON\n");
        switchLoad(kBatteryLoadOn);
        machine_.pause(kSettleTime);
    }
    adc.read(batterySource(product_));
    if (sampled) {
        switchLoad(kBatteryLoadOff);
        util::logMessage(LOG_INFO, "Battery Sample = OFF\n");
        publish(adc);
    }
}

void BatterySampling::advance() {
    cycle_ = cycle_ == kLastCycle ? 0 : cycle_ + 1;
}

void BatterySampling::switchLoad(const char* command) {
    const int result = machine_.run(command, TimeLimit::fiveSeconds);
    if (result < 0) {
        util::trace("system returned %d\n", result);
    }
}

void BatterySampling::publish(const AdcReader& adc) {
    const std::int32_t sample = adc.samples().channels[kBatteryChannel];
    util::logMessage(LOG_INFO, "sec[%d]  ADC CHAN %d=%d\n", cycle_,
                     static_cast<int>(kBatteryChannel), sample);
    const double volts = batteryVolts(sample, batteryWiring(product_));
    parameters_.publishFloat(kBattVoltageKey, volts);
    util::trace("BATT %f\n", volts);
}

}  // namespace systemstate
