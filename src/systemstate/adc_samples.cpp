#include "systemstate/adc_samples.h"

#include <limits>

namespace systemstate {

namespace {

constexpr float kSupplyNumerator = 1366.0F;
constexpr std::int64_t kPreviousWeight = 3;

constexpr double kFullScale = 4096.0;
constexpr double kNoBatteryBelow = 2.0;
constexpr double kPsuFactor = 29.1;

// volts = (fraction + offset) * factor
struct Divider {
    BatteryWiring wiring;
    double offset;
    double factor;
};

constexpr Divider kBatteryDividers[] = {
    {BatteryWiring::tessara, 0.0, 3.21},
    {BatteryWiring::keli, 0.0, 3.38},
    {BatteryWiring::other, 0.6133, 2.73448},
};

std::int32_t smoothed(std::int64_t previous, std::int64_t reading) {
    return static_cast<std::int32_t>((kPreviousWeight * previous + reading) /
                                     (kPreviousWeight + 1));
}

double fractionOfFullScale(std::int32_t sample) {
    return sample / kFullScale;
}

}  // namespace

AdcSamples filterReadings(const AdcSamples& previous, const XadcReadings& readings,
                          Filtering filtering) {
    AdcSamples next;
    for (std::size_t channel = 0; channel < kXadcChannels; ++channel) {
        const std::int32_t reading = readings.channels[channel];
        const bool asItIs = filtering == Filtering::first || channel == kBatteryChannel;
        next.channels[channel] = asItIs ? reading : smoothed(previous.channels[channel], reading);
    }
    next.temperature = dieTemperature(readings.temperature);
    next.supplyScale = readings.supply == 0
                           ? std::numeric_limits<float>::infinity()
                           : kSupplyNumerator / static_cast<float>(readings.supply);
    return next;
}

double psuVolts(std::int32_t sample) {
    return fractionOfFullScale(sample) * kPsuFactor;
}

double batteryVolts(std::int32_t sample, BatteryWiring wiring) {
    for (const Divider& divider : kBatteryDividers) {
        if (divider.wiring == wiring) {
            const double volts = (fractionOfFullScale(sample) + divider.offset) * divider.factor;
            return volts < kNoBatteryBelow ? 0.0 : volts;
        }
    }
    return 0.0;
}

std::int32_t dieTemperature(std::int32_t reading) {
    const std::int64_t thousandths = std::int64_t{reading} * 503975 / 4096 - 272650;
    return static_cast<std::int32_t>(thousandths / 1000);
}

}  // namespace systemstate
