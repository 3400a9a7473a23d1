#pragma once

#include <array>
#include <string>

// One serial port of the frame. Main thread.
struct SerialPort {
    std::string device;           // path of its device file
    std::string label;            // what people call it
    std::string connectionPoint;  // what a client said is plugged in; empty at start
    std::string oid;              // identifier of its parameter
};

using SerialPorts = std::array<SerialPort, 3>;

// The ports of a frame, with nothing connected.
SerialPorts makeSerialPorts();
