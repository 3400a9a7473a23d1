#pragma once

#include <cstdint>

// From a converter sample (a fraction of full scale with 12 fractional bits) to volts. Computed in
// double. Pure functions, usable from any thread.

// How the battery is wired to the converter.
enum class BatteryWiring { tessara, keli, other };

// A supply's voltage in volts.
double psuVolts(std::int32_t sample);

// The battery's voltage in volts; 0.0 below 2 V, where no battery is fitted.
double batteryVolts(std::int32_t sample, BatteryWiring wiring);
