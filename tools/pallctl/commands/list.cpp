#include <algorithm>

#include "cli/standard_output.h"
#include "pallctl/commands/commands.h"

namespace pallctl {

namespace {

ExitStatus list(const Options& options) {
    client::Client client(options.connection(), client::Subscription::answers);
    const ExitStatus status = client.read(client.catalogue());
    if (status != kSuccess) {
        return status;
    }
    const auto parameters = client.described();
    const auto hidden = std::ranges::count_if(parameters, [&](const client::Parameter* each) {
        return client.device().hidesValue(*each);
    });
    if (hidden > 0) {
        client::complain(client.device().object(),
                         std::to_string(hidden) + " values are not readable through a prefix");
    }
    cli::print(formatParameters(parameters, options.style()));
    return kSuccess;
}

}  // namespace

void addList(cli::Command program, const Options& options) {
    program.addCommand("list", "Print all parameters").work([&options] { return list(options); });
}

}  // namespace pallctl
