#include <algorithm>
#include <memory>

#include "cli/standard_output.h"
#include "pallctl/commands/commands.h"
#include "pallctl/commands/set_request.h"

namespace pallctl {

namespace {

ExitStatus set(const Options& options, const std::vector<std::string>& words,
               const SetOptions& setOptions) {
    client::Client client(options.connection(), client::Subscription::changes);
    SetRequest request(client, options.style(), setOptions);
    int signal = 0;
    ExitStatus status = request.parse(words);
    if (const auto names = request.names(); !names.empty()) {
        const ExitStatus reading = client.read(names);
        status = std::max(status, reading == kSuccess ? request.plan() : reading);
    }
    if (status == kSuccess && setOptions.dryRun) {
        request.preview();
    } else if (status == kSuccess) {
        status = request.send(signal);
    }
    request.report();
    if (signal != 0) {
        cli::flushOutput();
        cli::endBySignal(signal);
    }
    return status;
}

struct Arguments {
    std::vector<std::string> assignments;
    SetOptions options;
};

}  // namespace

void addSet(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("set", "Set values, one after the other");
    const auto arguments = std::make_shared<Arguments>();
    command.add("NAME=VALUE", arguments->assignments).required();
    command.addFlag("-f,--force", arguments->options.force,
                    "Send values that do not fit, and to unknown names");
    command.addFlag("-a,--always", arguments->options.always, "Send values that are set already");
    command.addFlag("-n,--dry-run", arguments->options.dryRun,
                    "Check the values and print what would be sent");
    command.work(
        [&options, arguments] { return set(options, arguments->assignments, arguments->options); });
}

}  // namespace pallctl
