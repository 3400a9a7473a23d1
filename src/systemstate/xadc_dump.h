#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace systemstate {

// The register dump of the Zynq's on-chip XADC. The dump holds one register in 8 bytes: an index, a
// separator, and from byte 3 on the value in hexadecimal digits. Each register is 16 bits wide with
// the converter's 12-bit result in the upper bits (Xilinx UG480). Pure functions, usable from any
// thread.

inline constexpr std::size_t kXadcDumpSize = 264;
inline constexpr std::size_t kXadcChannels = 16;
inline constexpr std::size_t kBatteryChannel = 13;

// Raw 12-bit results: 0 to 4095 in a dump that the converter's driver made. A text with a sign or a
// fifth digit gives -4096 to 65535.
struct XadcReadings {
    std::array<std::int32_t, kXadcChannels> channels{};
    std::int32_t temperature = 0;
    std::int32_t supply = 0;
};

// Where the battery is measured depends on the card: on its own channel or on the dedicated
// VP/VN input.
enum class BatterySource { channel, dedicatedInput };

// Reads every register that is used, its text converted as strtol(3) does with base 16. Nothing
// when the dump is short or garbled, that is when a text in use has no digits.
std::optional<XadcReadings> decodeXadcDump(const std::string& dump, BatterySource source);

}  // namespace systemstate
