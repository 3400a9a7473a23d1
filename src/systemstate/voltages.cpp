#include "systemstate/voltages.h"

namespace {

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

double fractionOf(std::int32_t sample) {
    return sample / kFullScale;
}

}  // namespace

double psuVolts(std::int32_t sample) {
    return fractionOf(sample) * kPsuFactor;
}

double batteryVolts(std::int32_t sample, BatteryWiring wiring) {
    for (const Divider& divider : kBatteryDividers) {
        if (divider.wiring == wiring) {
            const double volts = (fractionOf(sample) + divider.offset) * divider.factor;
            return volts < kNoBatteryBelow ? 0.0 : volts;
        }
    }
    return 0.0;
}
