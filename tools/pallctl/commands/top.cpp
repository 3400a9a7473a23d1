#include "pallctl/top/top.h"

#include <memory>
#include <string>

#include "pallctl/commands/commands.h"

namespace pallctl {

namespace {

struct Arguments {
    std::string record;
    std::string play;
};

ExitStatus runTop(const Options& options, const Arguments& arguments) {
    requirePlainFormat(options);
    client::ConnectionOptions connection = options.connection();
    connection.reportsFramingErrors = false;  // standard error would go over the screen
    return top::run({connection, arguments.record, arguments.play});
}

}  // namespace

void addTop(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("top", "Live full-screen view");
    const auto arguments = std::make_shared<Arguments>();
    command.add("--record", arguments->record, "Record to this file").kind("FILE");
    command.add("--play", arguments->play, "Show this recording; needs no bus")
        .kind("FILE")
        .excludes("--record");
    command.notes("Press ? for the keys.");
    command.work([&options, arguments] { return runTop(options, *arguments); });
}

}  // namespace pallctl
