#pragma once

#include <array>
#include <memory>
#include <string>

class ToskParam;
class ToskValue;

namespace systemstate {

// One serial port of the frame. Main thread.
struct SerialPort {
    std::string device;           // path of its device file
    std::string label;            // what people call it
    std::string connectionPoint;  // what a client said is plugged in; empty at start
    std::string oid;              // identifier of its parameter
};

// A port of the frame as it is built.
struct SerialPortHardware {
    const char* oid;
    const char* label;
    const char* device;
};
inline constexpr std::array<SerialPortHardware, 3> kSerialPorts{
    {{"system.serial0", "COM1", "/dev/ttyS2"},
     {"system.serial1", "COM2", "/dev/ttyS1"},
     {"system.serial2", "TBus", "/dev/ttyS3"}}};

using SerialPorts = std::array<SerialPort, kSerialPorts.size()>;

// The ports of a frame, with nothing connected.
SerialPorts makeSerialPorts();

// The value of the port's parameter: a struct of the port's name, device and connection.
std::shared_ptr<ToskValue> makeSerialValue(const SerialPort& port);

// Takes the connection over that a client wrote into the port's parameter, if the value has one.
void takeConnectionPoint(SerialPort& port, const ToskParam& param);

}  // namespace systemstate
