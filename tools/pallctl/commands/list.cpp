#include <algorithm>
#include <memory>

#include "cli/standard_output.h"
#include "pallctl/commands/commands.h"

namespace pallctl {

namespace {

ExitStatus list(const Options& options, const std::vector<std::string>& names) {
    client::Client client(options.connection(), client::Subscription::answers);
    ExitStatus status = client.read(names.empty() ? client.catalogue() : names);
    if (status != kSuccess) {
        return status;
    }
    const auto parameters =
        names.empty() ? client.described() : findParameters(client, names, status);
    const auto hidden = std::ranges::count_if(parameters, [&](const client::Parameter* each) {
        return client.device().hidesValue(*each);
    });
    if (hidden > 0) {
        client::complain(client.device().object(),
                         std::to_string(hidden) + " values are not readable through a prefix");
    }
    cli::print(formatParameters(parameters, options.style()));
    return status;
}

}  // namespace

void addList(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("list", "Print parameters as a table");
    const auto names = std::make_shared<std::vector<std::string>>();
    command.add("NAME", *names, "Only these; 'psu*' selects all that begin so");
    command.work([&options, names] { return list(options, *names); });
}

}  // namespace pallctl
