// Whatever the register dump holds: readings are results of the converter, and so is everything
// that filtering makes of them. The first byte chooses where the battery is measured.

#include "systemstate/xadc_dump.h"

#include <algorithm>

#include "fuzz_target.h"
#include "systemstate/voltages.h"

namespace {

bool isResult(int32_t value) {
    return value >= 0 && value <= 4095;
}

void checkSamples(const AdcSamples& samples) {
    require(std::ranges::all_of(samples.channels, isResult));
    require(samples.temperature >= -272 && samples.temperature <= 231);
    require(samples.supplyScale >= 0.0F);
    require(psuVolts(samples.channels[0]) < 29.1);
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
        require(std::ranges::all_of(readings->channels, isResult));
        AdcSamples samples = filterReadings({}, *readings, Filtering::first);
        checkSamples(samples);
        samples.channels.fill(4095);
        checkSamples(filterReadings(samples, *readings, Filtering::smoothed));
    }
    return 0;
}
