#pragma once

class Machine;
class Product;
struct EthernetInterfaceStatus;

// Asks the bonding driver to send through `port` from now on. False, and a log line at error
// priority, on products whose bond is not swapped this way. Whether the driver did it shows in its
// status file only.
bool swapActivePort(Machine& machine, const Product& product, const EthernetInterfaceStatus& port);
