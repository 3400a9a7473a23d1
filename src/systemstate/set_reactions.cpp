#include "systemstate/set_reactions.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "model/param_values.h"
#include "systemstate/catalogue.h"
#include "systemstate/ethernet_ports.h"
#include "systemstate/machine.h"
#include "systemstate/network_config.h"
#include "systemstate/param_keys.h"
#include "systemstate/parameter_store.h"
#include "systemstate/paths.h"
#include "systemstate/service_control.h"
#include "util/log.h"
#include "util/trace.h"

namespace systemstate {

namespace {

// True when a command parameter asks for its command.
bool isRequested(const char* key, const ToskParam& param) {
    const int64_t value = model::readInteger(&param).value_or(0);
    util::trace("%s changed, value:%lld\n", key, static_cast<long long>(value));
    return value != 0;
}

}  // namespace

SetReactions::SetReactions(Parts parts) : parts_(std::move(parts)) {}

void SetReactions::carryOut(const Reaction& reaction, ToskParam& param) {
    if (reaction.carryOut != nullptr) {
        (this->*reaction.carryOut)(param);
    }
    const std::optional<bool> running = model::isNonZero(param);
    if (reaction.setRunning != nullptr && running) {
        (parts_.services.*reaction.setRunning)(*running);
    }
}

void SetReactions::changeActivePort(ToskParam& param) {
    const std::optional<int64_t> position = model::readInteger(&param);
    if (!position) {
        return;
    }
    if (static_cast<uint64_t>(*position) >= parts_.ports.size()) {
        util::logMessage(LOG_INFO, "Set Active Ethernet invalid interface index: %lld\n",
                         static_cast<long long>(*position));
        model::storeSilently(param, activePortIndex(parts_.ports));
        parts_.announce(param);
        return;
    }
    const EthernetInterfaceStatus& port = parts_.ports[static_cast<std::size_t>(*position)];
    if (port.status.get() != PortStatus::active) {
        swapActivePort(parts_.machine, parts_.product, port);
    }
}

void SetReactions::applyNetworkSettings(ToskParam& /*param*/) {
    parts_.network.apply();
}

void SetReactions::restartNetwork(ToskParam& param) {
    if (!isRequested(kRestartNetworkKey, param)) {
        return;
    }
    if (parts_.machine.run(kRestartNetworking) != 0) {
        util::logMessage(LOG_ERR, "Error restarting networking - %m");
    }
    model::storeSilently(param, 0);
}

void SetReactions::generateReport(ToskParam& param) {
    if (!isRequested(kGenerateReportKey, param)) {
        return;
    }
    if (parts_.machine.run(kGenerateReport) != 0) {
        util::logMessage(LOG_ERR, "Error calling generateReport - %m");
    }
    parts_.parameters.setInteger(kGenerateReportKey, 0);
}

void SetReactions::keepConnection(ToskParam& param) {
    const std::string oid = param.oid().toString();
    for (SerialPort& port : parts_.serialPorts) {
        if (port.oid == oid) {
            util::trace("%s == %s\n", port.oid.c_str(), oid.c_str());
            takeConnectionPoint(port, param);
        }
    }
}

}  // namespace systemstate
