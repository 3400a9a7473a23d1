#include <memory>

#include "cli/standard_output.h"
#include "pallctl/commands/commands.h"
#include "pallctl/values/description.h"

namespace pallctl {

namespace {

ExitStatus describe(const Options& options, const std::vector<std::string>& names) {
    client::Client client(options.connection(), client::Subscription::answers);
    ExitStatus status = client.read(names.empty() ? client.catalogue() : names);
    if (status == kSuccess) {
        const auto parameters =
            names.empty() ? client.described() : findParameters(client, names, status);
        cli::print(describeParameters(parameters, options.style()));
    }
    return status;
}

}  // namespace

void addDescribe(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("describe", "Print everything about parameters");
    const auto names = std::make_shared<std::vector<std::string>>();
    command.add("NAME", *names, "Only these");
    command.work([&options, names] { return describe(options, *names); });
}

}  // namespace pallctl
