#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "model/tosk_param.h"
#include "systemstate/controller_details.h"
#include "systemstate/ethernet_ports.h"
#include "systemstate/machine.h"
#include "systemstate/network_settings.h"
#include "systemstate/serial_port.h"

namespace systemstate {

class Product;
struct CatalogueRow;

// Sources of the initial values; all of it is read when the catalogue is built.
struct CatalogueSources {
    const Machine& machine;
    const Product& product;
    const EthernetPorts& ports;
    const MasterSystemDetails& details;
    NetworkSettings network;
    std::string version;
};

using InitialValue = std::shared_ptr<ToskValue>;

// Initial values that the rows of the catalogue name, each a new object. Main thread.
namespace initial {

InitialValue integer(int64_t number);
InitialValue text(const std::string& value);

InitialValue one(const CatalogueSources& sources);
InitialValue systemName(const CatalogueSources& sources);
InitialValue productName(const CatalogueSources& sources);
InitialValue version(const CatalogueSources& sources);
InitialValue activePort(const CatalogueSources& sources);
InitialValue activeController(const CatalogueSources& sources);

// No battery reads below zero, so this one has not been sampled yet.
InitialValue notSampled(const CatalogueSources& sources);

template <uint32_t NetworkSettings::*setting>
InitialValue network(const CatalogueSources& sources) {
    return integer(sources.network.*setting);
}

template <std::size_t position>
InitialValue portStatus(const CatalogueSources& sources) {
    return integer(static_cast<int64_t>(sources.ports[position].status.get()));
}

template <const char* const& disabledMarker>
InitialValue serviceState(const CatalogueSources& sources) {
    return integer(sources.machine.exists(disabledMarker) ? 0 : 1);
}

template <ControllerDetails MasterSystemDetails::*controller, auto field>
InitialValue controllerFlag(const CatalogueSources& sources) {
    return integer(sources.details.*controller.*field ? 1 : 0);
}

template <ControllerDetails MasterSystemDetails::*controller, auto field>
InitialValue controllerText(const CatalogueSources& sources) {
    return text(sources.details.*controller.*field);
}

template <std::size_t position>
InitialValue serialPort(const CatalogueSources& /*sources*/) {
    return makeSerialValue(makeSerialPorts()[position]);
}

}  // namespace initial

// A parameter as its row describes it, holding its initial value. It has no listener yet.
std::unique_ptr<ToskParam> makeParam(const CatalogueRow& row, const CatalogueSources& sources);

}  // namespace systemstate
