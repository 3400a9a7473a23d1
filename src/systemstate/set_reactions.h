#pragma once

#include <functional>

#include "systemstate/ethernet_ports.h"
#include "systemstate/serial_port.h"

class ToskParam;

namespace systemstate {

class Machine;
class NetworkConfig;
class ParameterStore;
class Product;
class ServiceControl;
struct Reaction;

// The effects of a set of a parameter on the machine; the rows of the catalogue name these
// functions. Owned by SystemState. A reaction runs inside the operation that set the parameter,
// after the change was announced, and blocks for as long as its commands take. Main thread.
class SetReactions {
  public:
    struct Parts {
        Machine& machine;
        const Product& product;
        EthernetPorts& ports;
        SerialPorts& serialPorts;
        ParameterStore& parameters;
        ServiceControl& services;
        NetworkConfig& network;
        std::function<void(const ToskParam&)> announce;
    };

    // Keeps all of them.
    explicit SetReactions(Parts parts);

    // Carries out the reaction to a set of that parameter.
    void carryOut(const Reaction& reaction, ToskParam& param);

    // The traffic moves to the port with that number. Another number is put back.
    void changeActivePort(ToskParam& param);
    // The three network settings become the machine's.
    void applyNetworkSettings(ToskParam& param);
    // Commands: other than 0 runs the command, and is 0 again afterwards.
    void restartNetwork(ToskParam& param);
    void generateReport(ToskParam& param);
    // Keeps the client's text about the connection of a serial port.
    void keepConnection(ToskParam& param);

  private:
    Parts parts_;
};

}  // namespace systemstate
