// Prints doc/parameters.md from the daemon's own catalogue.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <span>
#include <string>

#include "model/tosk_type_names.h"
#include "systemstate/catalogue.h"
#include "systemstate/serial_port.h"

namespace {

constexpr const char* kNothing = "announced, nothing else";
constexpr const char* kSaved = "announced and saved";
constexpr const char* kPairDetails = "details of the redundant pair";
constexpr const char* kNetwork =
    "with the other two valid: `network.conf` is written, the network restarted";
constexpr const char* kNetworkFile = "a set; `network.conf` edited by others";

// What no row of the catalogue says: what a set of the parameter does, and what changes it.
struct Behaviour {
    const char* key;
    const char* onSet;
    const char* changedBy;
};

constexpr Behaviour kBehaviours[] = {
    {"system.frameName", kSaved, "a set; on Tessara frames the node's label, at the start"},
    {"system.systemName", kSaved, "a set"},
    {"system.active", kSaved, "a set"},
    {"system.quoraneProfilesEnabled", kSaved, "a set"},
    {"system.quoraneUsersEnabled", kSaved, "a set"},
    {"system.ipAddress", kNetwork, kNetworkFile},
    {"system.netmask", kNetwork, kNetworkFile},
    {"system.gateway", kNetwork, kNetworkFile},
    {"system.version", kNothing, "the start"},
    {"system.frameType", kNothing, "the frame detection file, once, on Tessara frames"},
    {"system.ethPort1Status", kNothing, "the bonding status, each second"},
    {"system.ethPort2Status", kNothing, "the bonding status, each second"},
    {"system.activeEthernet", "the bond is asked to change over (Quorane only)",
     "a set; the bonding status, each second"},
    {"system.psu1Voltage", kNothing, "the converter, each second"},
    {"system.psu2Voltage", kNothing, "the converter, each second"},
    {"system.battVoltage", kNothing, "the converter, one second in 151"},
    {"system.pcbRevision", kNothing, "nothing"},
    {"system.pcbIssue", kNothing, "nothing"},
    {"system.productId", kNothing, "nothing"},
    {"system.sshEnabled", "the server is started (not 0) or stopped (0); saved", "a set"},
    {"system.ftpEnabled", "the server is started (not 0) or stopped (0); saved", "a set"},
    {"system.ambrixEnabled", "the service is stopped, and started again (not 0); saved",
     "a set; the service's own shut-off"},
    {"system.generateReport", "the report is made (not 0), then back to 0; saved", "a set"},
    {"system.restartNetwork", "the network is restarted (not 0), then back to 0; saved", "a set"},
    {"system.activeKeli", "the bus is told which controller is active", kPairDetails},
    {"system.primaryIPAddress", kNothing, kPairDetails},
    {"system.primaryPresent", kNothing, kPairDetails},
    {"system.primaryActive", kNothing, kPairDetails},
    {"system.primaryVersion", kNothing, kPairDetails},
    {"system.secondaryIPAddress", kNothing, kPairDetails},
    {"system.secondaryPresent", kNothing, kPairDetails},
    {"system.secondaryActive", kNothing, kPairDetails},
    {"system.secondaryVersion", kNothing, kPairDetails},
};

// A row without an entry ends the program, and with it the build's test of the page.
const Behaviour& behaviourOf(const char* key) {
    for (const Behaviour& behaviour : kBehaviours) {
        if (std::strcmp(behaviour.key, key) == 0) {
            return behaviour;
        }
    }
    std::fprintf(stderr, "parameters_page: nothing is said of %s\n", key);
    std::exit(EXIT_FAILURE);
}

std::string choices(const CatalogueRow& row) {
    std::string text;
    for (size_t value = 0; value < row.choices.size(); ++value) {
        text += (value == 0 ? "" : ", ") + std::to_string(value) + " " + row.choices[value];
    }
    return text;
}

std::string form(const CatalogueRow& row) {
    if (std::strcmp(row.widget, "WIDGET_IP_ADDRESS") == 0) {
        return "address, first octet in the top byte";
    }
    return row.precision >= 0 ? std::to_string(row.precision) + " decimals" : choices(row);
}

void printGroup(const char* title, std::span<const CatalogueRow> rows) {
    std::printf("\n## %s\n\n", title);
    std::printf(
        "| parameter | label | type | values | access | saved | starts as | a set | changed by "
        "|\n");
    std::printf("|---|---|---|---|---|---|---|---|---|\n");
    for (const CatalogueRow& row : rows) {
        const Behaviour& behaviour = behaviourOf(row.key);
        std::printf("| `%s` | %s | %s | %s | %s | %s | %s | %s | %s |\n", row.key, row.name,
                    valueTypeName(row.type), form(row).c_str(),
                    row.access == Access::readonly ? "read-only" : "writable",
                    row.storage == Storage::published ? "yes" : "no", row.startsAs, behaviour.onSet,
                    behaviour.changedBy);
    }
}

}  // namespace

int main() {
    std::puts(
        "# Parameters\n\n"
        "Printed from the catalogue by `parameters_page`; a test compares the two. After a change "
        "of the\n"
        "catalogue: `build/default/bin/parameters_page > doc/parameters.md`.\n\n"
        "Every set is announced, whether the value changes or not, and read-only describes what "
        "clients\n"
        "should offer: the daemon carries out what it is sent. Saved parameters are written to the "
        "state file\n"
        "with every set of one of them, come back after a restart, and are the ones that the whole "
        "device's\n"
        "descriptor shows; every other parameter is there when it is asked for by name.");
    printGroup("Identity", identityGroup());
    printGroup("Machine", mainCatalogue());
    std::puts(
        "\nA port's status is 0 without a link, 1 while it carries the traffic, 2 while it has a "
        "link "
        "and waits, 3 for\n"
        "anything else that the driver says. Supplies are smoothed: each second a quarter of the "
        "way to "
        "what was read.\n"
        "The battery is not; below 2 V it is 0.\n"
        "\n## Serial ports\n\n"
        "Structs with the texts `name`, `dev` and `connectionPoint`; a set of `_d_connectionPoint` "
        "is kept as\n"
        "the port's connection point.\n\n"
        "| parameter | label | device |\n|---|---|---|");
    for (const SerialPort& port : makeSerialPorts()) {
        std::printf("| `%s` | %s | %s |\n", port.oid.c_str(), port.label.c_str(),
                    port.device.c_str());
    }
}
