#pragma once

#include <array>
#include <memory>
#include <string>

class ToskParam;

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

// The port's parameter: a struct of the port's name, device and connection, not published.
std::unique_ptr<ToskParam> makeSerialParam(const SerialPort& port);

// Takes the connection over that a client wrote into the port's parameter, if the value has one.
void takeConnectionPoint(SerialPort& port, const ToskParam& param);
