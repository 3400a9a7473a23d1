#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "model/relaxed.h"

// The state of a port: the codes that clients of the port status parameters know.
enum class PortStatus : int32_t { linkDown = 0, active = 1, linkUp = 2, other = 3 };

// One slave of the frame's bond. Names and position stay as they were made; the status is written
// by the poll thread and read by both.
struct EthernetInterfaceStatus {
    std::string interfaceName;  // as the kernel calls it
    int32_t index = 0;          // position in the list, from 0
    Relaxed<PortStatus> status{PortStatus::linkDown};
    std::string label;  // what people call it; empty: the interface name
};

inline constexpr std::size_t kEthernetPortCount = 2;
using EthernetPorts = std::array<EthernetInterfaceStatus, kEthernetPortCount>;

// The ports of a frame, all down.
EthernetPorts makeEthernetPorts();

// The text that a choice list shows for the port.
const std::string& portTitle(const EthernetInterfaceStatus& port);

// The position of the last port that carries the bond's traffic; 0 when none does.
int32_t activePortIndex(const EthernetPorts& ports);

// "system.ethPort1Status" for position 0.
std::string portStatusKey(std::size_t position);
