#pragma once

#include <array>
#include <cstdint>

#include "systemstate/xadc_dump.h"

// The samples of the on-chip converter: how readings are smoothed, and the voltages and the
// temperature that they stand for. Pure functions, usable from any thread.

namespace systemstate {

// The samples that are carried from poll to poll.
struct AdcSamples {
    std::array<std::int32_t, kXadcChannels> channels{};  // smoothed 12-bit results
    std::int32_t temperature = 0;                        // die temperature, whole degrees Celsius
    float supplyScale = 0.0F;                            // infinite when the supply reads 0
};

// The filtering of a sample: `first` takes the readings as they are, `smoothed` gives the previous
// sample three quarters of the weight. The battery is sampled too rarely to be smoothed.
enum class Filtering { first, smoothed };

// The next samples after `previous`.
AdcSamples filterReadings(const AdcSamples& previous, const XadcReadings& readings,
                          Filtering filtering);

// The wiring of the battery to the converter.
enum class BatteryWiring { tessara, keli, other };

// From a sample, as a fraction of full scale with 12 fractional bits, to the voltage of a supply
// and of the battery in volts. A battery below 2 V counts as not fitted and has 0.0 V.
double psuVolts(std::int32_t sample);
double batteryVolts(std::int32_t sample, BatteryWiring wiring);

// The die temperature in whole degrees Celsius, truncated toward zero twice (thousandths, degrees).
std::int32_t dieTemperature(std::int32_t reading);

}  // namespace systemstate
