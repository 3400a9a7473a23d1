// Whatever the register dump holds: readings are within what five characters of a register can say,
// and so is everything that filtering makes of them. The first byte chooses where the battery is
// measured.

#include "systemstate/xadc_dump.h"

#include <algorithm>
#include <cmath>

#include "fuzz_target.h"
#include "systemstate/adc_samples.h"

namespace {

// Between "-ffff" and "fffff", the lowest four bits cut off.
constexpr int32_t kLowest = -0x1000;
constexpr int32_t kHighest = 0xFFFF;

bool isReading(int32_t value) {
    return value >= kLowest && value <= kHighest;
}

void checkSamples(const systemstate::AdcSamples& samples) {
    require(std::ranges::all_of(samples.channels, isReading));
    require(samples.temperature >= systemstate::dieTemperature(kLowest));
    require(samples.temperature <= systemstate::dieTemperature(kHighest));
    require(!std::isnan(samples.supplyScale));
    require(std::abs(systemstate::psuVolts(samples.channels[0])) < 16 * 29.1);
    const double volts = systemstate::batteryVolts(samples.channels[systemstate::kBatteryChannel],
                                                   systemstate::BatteryWiring::other);
    require(volts == 0.0 || volts >= 2.0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const auto source = data[0] % 2 == 0 ? systemstate::BatterySource::channel
                                         : systemstate::BatterySource::dedicatedInput;
    const std::string dump = textOf(data + 1, size - 1);
    if (const std::optional<systemstate::XadcReadings> readings =
            systemstate::decodeXadcDump(dump, source)) {
        require(dump.size() >= systemstate::kXadcDumpSize);
        require(std::ranges::all_of(readings->channels, isReading));
        systemstate::AdcSamples samples =
            systemstate::filterReadings({}, *readings, systemstate::Filtering::first);
        checkSamples(samples);
        for (const int32_t previous : {kLowest, kHighest}) {
            samples.channels.fill(previous);
            checkSamples(
                systemstate::filterReadings(samples, *readings, systemstate::Filtering::smoothed));
        }
    }
    return 0;
}
