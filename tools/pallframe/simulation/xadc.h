#pragma once

#include <string>
#include <string_view>

#include "pallframe/simulation/product.h"

namespace pallframe::simulation {

// What a card's supplies deliver, in volts.
struct Power {
    double psu1 = 12.0;
    double psu2 = 12.0;
    double battery = 3.1;  // under its sampling load, as an operator's meter would have it; 0: none
    bool loaded = false;   // the sampling load is switched on

    bool operator==(const Power&) const = default;
};

// The card's own note of its power, "psu1=11.9" and so on, one per line; what is missing or
// unreadable keeps its default.
Power parsePower(std::string_view text);
std::string renderPower(const Power& power);

// The register dump of the XADC (Xilinx UG480): one line "index:value" of eight bytes per register,
// both hexadecimal, the 12-bit reading in the upper bits of the value. Registers 0x10 to 0x1f are
// the auxiliary inputs. A battery without load reads kNoLoadGain above its loaded voltage.
std::string renderRegisters(const Power& power, const BatteryInput& battery);

inline constexpr double kNoLoadGain = 0.25;  // volts

}  // namespace pallframe::simulation
