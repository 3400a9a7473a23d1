#include "pallframe/simulation/xadc.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace pallframe::simulation {

namespace {

constexpr size_t kRegisterCount = 64;
constexpr double kFullScale = 4096;
constexpr double kSupplyDivider = 29.1;  // volts at the terminals for a full-scale reading

enum Register : size_t {
    kTemperature = 0x00,
    kCoreSupply = 0x01,
    kDedicatedInput = 0x03,
    kPSU1 = 0x10,
    kPSU2 = 0x18,
    kBattery = 0x1d,
};

// The die at 40 degrees Celsius: (40 + 273.15) x 4096 / 503.975.
constexpr double kDieTemperature = 2545;
// One volt of the three that are full scale.
constexpr double kCoreVoltage = 1366;

unsigned registerValue(double reading) {
    return static_cast<unsigned>(std::lround(std::clamp(reading, 0.0, kFullScale - 1))) << 4;
}

double batteryReading(const Power& power, const BatteryInput& input) {
    const bool rests = power.battery > 0 && !power.loaded;
    const double volts = power.battery + (rests ? kNoLoadGain : 0.0);
    return (volts / input.scale - input.offset) * kFullScale;
}

struct Field {
    std::string_view key;
    double Power::*volts;
};

constexpr std::array<Field, 3> kFields{{
    {"psu1=", &Power::psu1},
    {"psu2=", &Power::psu2},
    {"battery=", &Power::battery},
}};

}  // namespace

Power parsePower(std::string_view text) {
    Power power;
    for (const Field& field : kFields) {
        const size_t at = text.find(field.key);
        if (at != std::string_view::npos) {
            const char* number = text.data() + at + field.key.size();
            std::from_chars(number, text.data() + text.size(), power.*field.volts);
        }
    }
    power.loaded = text.find("loaded=1") != std::string_view::npos;
    return power;
}

std::string renderPower(const Power& power) {
    std::array<char, 160> text{};
    std::snprintf(text.data(), text.size(), "psu1=%.3f\npsu2=%.3f\nbattery=%.3f\nloaded=%d\n",
                  power.psu1, power.psu2, power.battery, power.loaded ? 1 : 0);
    return text.data();
}

std::string renderRegisters(const Power& power, const BatteryInput& battery) {
    std::array<double, kRegisterCount> readings{};
    readings[kTemperature] = kDieTemperature;
    readings[kCoreSupply] = kCoreVoltage;
    readings[kPSU1] = power.psu1 / kSupplyDivider * kFullScale;
    readings[kPSU2] = power.psu2 / kSupplyDivider * kFullScale;
    readings[battery.dedicated ? kDedicatedInput : kBattery] = batteryReading(power, battery);

    std::string text;
    for (size_t index = 0; index < readings.size(); ++index) {
        std::array<char, 16> line{};
        std::snprintf(line.data(), line.size(), "%02zx:%04x\n", index,
                      registerValue(readings[index]));
        text += line.data();
    }
    return text;
}

}  // namespace pallframe::simulation
