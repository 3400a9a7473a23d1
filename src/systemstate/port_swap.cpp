#include "systemstate/port_swap.h"

#include "systemstate/ethernet_interface_status.h"
#include "systemstate/machine.h"
#include "systemstate/paths.h"
#include "systemstate/product.h"
#include "util/log.h"

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
