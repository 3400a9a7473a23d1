#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "util/relaxed.h"

namespace systemstate {

class Machine;
class Product;

// The state of a port: the codes that clients of the port status parameters know.
enum class PortStatus : int32_t { linkDown = 0, active = 1, linkUp = 2, other = 3 };

}  // namespace systemstate

// One slave of the frame's bond. Names and position stay as they were made; the status is written
// by the poll thread and read by both.
struct EthernetInterfaceStatus {
    std::string interfaceName;  // as the kernel calls it
    int32_t index = 0;          // position in the list, from 0
    util::Relaxed<systemstate::PortStatus> status{systemstate::PortStatus::linkDown};
    std::string label;  // what people call it
};

namespace systemstate {

// The names of a port: its name in the kernel, and its label if there is one.
struct PortNames {
    const char* interfaceName;
    const char* label;
};

// The ports of a frame, in the order of their positions.
inline constexpr std::array kPortNames{PortNames{"eth0", "Port 1"}, PortNames{"eth1", "Port 2"}};

using EthernetPorts = std::array<EthernetInterfaceStatus, kPortNames.size()>;
using PortStatuses = std::array<PortStatus, kPortNames.size()>;

// The text that a choice list shows for the port: the label, or else the kernel's name.
constexpr const char* portTitle(const PortNames& names) {
    return *names.label != '\0' ? names.label : names.interfaceName;
}

// The ports of a frame, all down.
EthernetPorts makeEthernetPorts();

// The position of the last port that carries the bond's traffic; 0 when none does.
int32_t activePortIndex(const EthernetPorts& ports);

// The key of the port's status parameter: "system.ethPort1Status" for position 0.
std::string portStatusKey(std::size_t position);

// Asks the bonding driver to send through `port` from now on. False, and a log line at error
// priority, on products whose bond is not swapped this way. The driver's status file alone shows
// whether the swap took place. Main thread; waits for the command.
bool swapActivePort(Machine& machine, const Product& product, const EthernetInterfaceStatus& port);

}  // namespace systemstate
