#include "client/catalogue_names.h"

#include "systemstate/catalogue.h"
#include "systemstate/serial_port.h"

namespace pallctl {

std::vector<std::string> catalogueNames() {
    std::vector<std::string> names;
    for (const auto rows : {identityGroup(), mainCatalogue()}) {
        for (const CatalogueRow& row : rows) {
            names.emplace_back(row.key);
        }
    }
    for (const SerialPort& port : makeSerialPorts()) {
        names.push_back(port.oid);
    }
    return names;
}

}  // namespace pallctl
