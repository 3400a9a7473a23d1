#include "systemstate/ethernet_ports.h"

#include "systemstate/machine.h"
#include "systemstate/paths.h"
#include "systemstate/product.h"
#include "util/log.h"

namespace systemstate {

EthernetPorts makeEthernetPorts() {
    EthernetPorts ports;
    for (std::size_t i = 0; i < ports.size(); ++i) {
        ports[i].interfaceName = kPortNames[i].interfaceName;
        ports[i].index = static_cast<int32_t>(i);
        ports[i].label = kPortNames[i].label;
    }
    return ports;
}

int32_t activePortIndex(const EthernetPorts& ports) {
    int32_t active = 0;
    for (const EthernetInterfaceStatus& port : ports) {
        if (port.status.get() == PortStatus::active) {
            active = port.index;
        }
    }
    return active;
}

std::string portStatusKey(std::size_t position) {
    return "system.ethPort" + std::to_string(position + 1) + "Status";
}

bool swapActivePort(Machine& machine, const Product& product, const EthernetInterfaceStatus& port) {
    if (product.isQuorane()) {
        machine.firstLine((kChangeActiveSlave + port.interfaceName).c_str());
        return true;
    }
    if (product.name().empty()) {
        util::logMessage(LOG_ERR,
                         "Active ethernet port swapover not supported - product not specified.\n");
    } else {
        util::logMessage(LOG_ERR, "Active ethernet port swapover not supported on %.32s\n",
                         product.name().c_str());
    }
    return false;
}

}  // namespace systemstate
