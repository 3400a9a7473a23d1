#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "model/tosk_param.h"

namespace systemstate {

class ServiceControl;
class SetReactions;
struct CatalogueSources;

// The catalogue of the device: one row per parameter, in the order of building. A row is all that
// there is to say of a parameter; the device, the page of parameters, the tools and the tests take
// it from there. Rows are constant and may be read on any thread.

enum class Access { writable, readonly };
enum class Storage { published, live };  // published: in descriptors and in the state file

// Which part of the construction makes the parameter, in this order.
enum class Builder { identityGroup, mainCatalogue, serialPorts };

// The heading under which people look for the parameter.
enum class Group {
    identity,
    network,
    ethernetPorts,
    voltages,
    services,
    redundantPair,
    serialPorts,
    card
};

// What a reading measures, where its limits are known: limits.h has them.
enum class Quantity : uint8_t { none, supplyVoltage, batteryVoltage, portStatus };

// The choices of a command: once carried out it is 0 again.
inline constexpr const char* kCommandTexts[] = {"Cancel", "Apply"};

// Something of the frame that the parameter needs in order to be true, or to have its effect.
struct Dependency {
    const char* place;              // path or command, as in the header of paths
    const char* valueWithout = "";  // published without it, as JSON; empty: not known beforehand
};

// The effect of a set, besides the notification.
struct Reaction {
    const char* effect;  // in words, for the page of parameters
    void (SetReactions::*carryOut)(ToskParam& param) = nullptr;  // null: nothing on this machine
    bool runsCommands = true;                                    // which may take a minute

    // A service that runs while the parameter is not 0, from the start on; null: none. What a state
    // file holds without being a whole number either stops the service and stays, or makes way for
    // the initial value and starts it.
    void (ServiceControl::*setRunning)(bool running) = nullptr;
    bool keepsUnusable = false;
};

struct CatalogueRow {
    const char* key;   // "system.ipAddress"
    const char* name;  // label for people, "IP Address"
    Group group;

    model::ToskValueType type = model::kTypeInt32;
    Access access = Access::readonly;
    Storage storage = Storage::live;
    Builder builder = Builder::mainCatalogue;
    bool leadsGroup = false;                 // shown before the others of its group
    Quantity quantity = Quantity::none;      // none: without limits
    int32_t precision = -1;                  // negative: not set
    const char* widget = "";                 // empty: none
    std::span<const char* const> choices{};  // texts of 0, 1, …; empty: no constraint

    // Makes the initial value; null: 0, or an empty text.
    std::shared_ptr<ToskValue> (*initialValue)(const CatalogueSources& sources) = nullptr;

    // For the page of parameters: the initial value in words (null: 0, or an empty text), and what
    // else than a set changes the value while the daemon runs (null: nothing).
    const char* startsAs = nullptr;
    const char* changedBy = nullptr;

    const Reaction* reaction = nullptr;  // null: a set is announced, and saved if it is published
    std::span<const Dependency> dependsOn{};
};

// The last part of the key, "ipAddress", which is the parameter's name in messages.
constexpr std::string_view leafName(const CatalogueRow& row) {
    const std::string_view key(row.key);
    return key.substr(key.rfind('.') + 1);
}

// The whole catalogue, and the part of it that one builder makes.
std::span<const CatalogueRow> catalogue();
std::span<const CatalogueRow> rowsBuiltBy(Builder builder);

// The row of the parameter with that key; null when there is none.
const CatalogueRow* findRow(std::string_view key);

}  // namespace systemstate
