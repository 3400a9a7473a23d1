// Whatever the register dump holds: readings are within what five characters of a register can say,
// and so is everything that filtering makes of them. The first byte chooses where the battery is
// measured.

#include "systemstate/xadc_dump.h"

#include <algorithm>
#include <cmath>

#include "fuzz_target.h"

namespace {

// Between "-ffff" and "fffff", the lowest four bits cut off.
constexpr int32_t kLowest = -0x1000;
constexpr int32_t kHighest = 0xFFFF;

bool isReading(int32_t value) {
    return value >= kLowest && value <= kHighest;
}

void checkSamples(const AdcSamples& samples) {
    require(std::ranges::all_of(samples.channels, isReading));
    require(samples.temperature >= dieTemperature(kLowest));
    require(samples.temperature <= dieTemperature(kHighest));
    require(!std::isnan(samples.supplyScale));
    require(std::abs(psuVolts(samples.channels[0])) < 16 * 29.1);
    const double volts = batteryVolts(samples.channels[kBatteryChannel], BatteryWiring::other);
    require(volts == 0.0 || volts >= 2.0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const auto source = data[0] % 2 == 0 ? BatterySource::channel : BatterySource::dedicatedInput;
    const std::string dump = textOf(data + 1, size - 1);
    if (const std::optional<XadcReadings> readings = decodeXadcDump(dump, source)) {
        require(dump.size() >= kXadcDumpSize);
        require(std::ranges::all_of(readings->channels, isReading));
        AdcSamples samples = filterReadings({}, *readings, Filtering::first);
        checkSamples(samples);
        for (const int32_t previous : {kLowest, kHighest}) {
            samples.channels.fill(previous);
            checkSamples(filterReadings(samples, *readings, Filtering::smoothed));
        }
    }
    return 0;
}
