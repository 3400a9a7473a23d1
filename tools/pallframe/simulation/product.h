#pragma once

#include <span>
#include <string>
#include <string_view>

namespace pallframe::simulation {

// How a card measures its battery: reading / 4096 = volts / scale - offset, on the XADC's dedicated
// input or on auxiliary channel 13.
struct BatteryInput {
    double scale;
    double offset;
    bool dedicated;
};

// One kind of frame that can be simulated. Immutable, lives as long as the program.
struct Product {
    std::string_view name;  // as PRODUCT in /tmp/eeprom has it
    bool tessara;           // bonding status in /tmp/bond0, frame detection, port labels
    int frameType;          // what frame detection finds; only on Tessara frames
    bool hasXADC;
    BatteryInput battery;
};

// All products, in the order in which messages list them.
std::span<const Product> products();

// The product of that name, ignoring case; null when the name is unknown.
const Product* findProduct(std::string_view name);

// All names, as a message lists them: "Tessara, Tessara-5ru, …".
std::string productNames();

}  // namespace pallframe::simulation
