#include "systemstate/xadc_dump.h"

#include <cstdlib>

namespace systemstate {

namespace {

constexpr std::size_t kTemperatureOffset = 3;
constexpr std::size_t kSupplyOffset = 11;
constexpr std::size_t kDedicatedInputOffset = 27;
constexpr std::size_t kFirstChannelOffset = 131;
constexpr std::size_t kRegisterPitch = 8;
constexpr std::size_t kRegisterTextSize = 5;  // up to the next register, line feed included
constexpr int kResultShift = 4;

// The result in the register whose text begins at `offset`; nothing when it has no digits.
std::optional<std::int32_t> decodeRegister(const std::string& dump, std::size_t offset) {
    const std::string text = dump.substr(offset, kRegisterTextSize);
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 16);
    if (end == text.c_str()) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(value >> kResultShift);
}

std::size_t channelOffset(std::size_t channel, BatterySource source) {
    if (channel == kBatteryChannel && source == BatterySource::dedicatedInput) {
        return kDedicatedInputOffset;
    }
    return kFirstChannelOffset + kRegisterPitch * channel;
}

}  // namespace

std::optional<XadcReadings> decodeXadcDump(const std::string& dump, BatterySource source) {
    if (dump.size() < kXadcDumpSize) {
        return std::nullopt;
    }
    XadcReadings readings;
    bool complete = true;
    const auto read = [&](std::size_t offset) {
        const std::optional<std::int32_t> value = decodeRegister(dump, offset);
        complete = complete && value.has_value();
        return value.value_or(0);
    };
    readings.temperature = read(kTemperatureOffset);
    readings.supply = read(kSupplyOffset);
    for (std::size_t channel = 0; channel < kXadcChannels; ++channel) {
        readings.channels[channel] = read(channelOffset(channel, source));
    }
    return complete ? std::optional(readings) : std::nullopt;
}

}  // namespace systemstate
