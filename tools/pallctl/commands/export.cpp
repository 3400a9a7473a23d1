#include <chrono>
#include <string>

#include "cli/command_line.h"
#include "cli/escape.h"
#include "cli/standard_output.h"
#include "cli/time_text.h"
#include "client/format_value.h"
#include "client/known_parameters.h"
#include "pallctl/commands/commands.h"
#include "pallctl/network/network_plan.h"
#include "pallctl/values/settings_file.h"
#include "util/system_clock.h"

namespace pallctl {

namespace {

std::string makeHead(const client::Client& client) {
    const auto now = util::readSystemClock();
    return "# Settings of the device \"" + client.device().object() + "\", " + cli::isoTime(now) +
           ", pallctl " + cli::programVersion() +
           ".\n"
           "# pallctl import FILE sets them again, on this card or on its replacement.\n";
}

// The network is set by a command of its own, which can roll back.
std::string formatNetworkCommand(const client::Client& client) {
    std::string command;
    for (const NetworkMember& member : kNetworkMembers) {
        const auto* const parameter =
            client.cache().described(client.device().fullName(member.leaf));
        if (parameter && client::hasValue(*parameter)) {
            command += std::string(" ") + member.option + " " +
                       client::formatValue(parameter->descriptor, parameter->value.get());
        }
    }
    return command.empty()
               ? ""
               : "#\n# The network is not imported. To set it:\n# pallctl network" + command + "\n";
}

bool isSetting(const client::Parameter& parameter) {
    return !parameter.descriptor.readOnly && client::hasValue(parameter) &&
           !client::isCommand(parameter.descriptor.name);
}

// The descriptor of the whole device has the saved parameters only.
ExitStatus exportSettings(const Options& options) {
    requirePlainFormat(options);
    client::Client client(options.connection(), client::Subscription::answers);
    ExitStatus status = client.read({});
    if (status != kSuccess) {
        return status;
    }
    std::string settings;
    for (const client::Parameter* parameter : client.described()) {
        if (isSetting(*parameter)) {
            settings +=
                formatSetting(client.device().leafName(parameter->descriptor.name), *parameter) +
                "\n";
        }
    }
    std::vector<std::string> network;
    network.reserve(kNetworkMembers.size());
    for (const NetworkMember& member : kNetworkMembers) {
        network.emplace_back(member.leaf);
    }
    status = client.read(network);
    if (status == kSuccess) {
        cli::print(makeHead(client) + formatNetworkCommand(client) + settings);
    }
    return status;
}

}  // namespace

void addExport(cli::Command program, const Options& options) {
    cli::Command command =
        program.addCommand("export", "Print the saved parameters as a file for import");
    command.work([&options] { return exportSettings(options); });
}

}  // namespace pallctl
