#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <variant>

#include "model/tosk_param.h"
#include "systemstate/controller_details.h"
#include "systemstate/ethernet_interface_status.h"
#include "systemstate/network_settings.h"

class Machine;
class Product;

// The catalogue of the device: one row per parameter, in the order of building. Adding a parameter
// is adding a row here and, if a set of it does something, one to the table of reactions. The
// page of parameters in doc/ is printed from these rows.

// What initial values are taken from; all of it is read when the catalogue is built.
struct CatalogueSources {
    const Machine& machine;
    const Product& product;
    const EthernetPorts& ports;
    const MasterSystemDetails& details;
    NetworkSettings network;
    std::string version;
};

using InitialValue = std::variant<int64_t, double, std::string>;

enum class Access { writable, readonly };
enum class Storage { published, live };  // published: in descriptors and in the state file

struct CatalogueRow {
    const char* key;
    const char* name;
    ToskValueType type;
    const char* widget;  // empty: none
    Access access;
    std::span<const char* const> choices;  // texts of 0, 1, …; empty: no constraint
    int32_t precision;                     // negative: none
    Storage storage;
    const char* startsAs;  // the initial value in words
    InitialValue (*initialValue)(const CatalogueSources& sources);
};

// The settings that make up the frame's identity.
std::span<const CatalogueRow> identityGroup();

// Everything else but the serial ports.
std::span<const CatalogueRow> mainCatalogue();

// A parameter as its row describes it, holding its initial value. It has no listener yet.
std::unique_ptr<ToskParam> makeParam(const CatalogueRow& row, const CatalogueSources& sources);
