#include <unistd.h>

#include <memory>

#include "cli/standard_output.h"
#include "cli/table.h"
#include "pallframe/commands/commands.h"
#include "pallframe/doctor/frame_status.h"
#include "pallframe/frame_selector.h"

namespace pallframe {

namespace {

struct Arguments {
    FrameSelector selector;
    bool json = false;
};

}  // namespace

void addStatus(cli::Command program, size_t) {
    const auto arguments = std::make_shared<Arguments>();
    cli::Command command = program.addCommand("status", "Ports, voltages, services, program calls");
    command.addFlag("--json", arguments->json, "One JSON object instead of a table");
    arguments->selector.addTo(command);
    command.work([arguments] {
        const auto status = doctor::readStatus(arguments->selector.tree());
        cli::print(arguments->json ? formatJSON(status)
                                   : formatTable(status, cli::readTerminalWidth(STDOUT_FILENO)));
        return 0;
    });
}

}  // namespace pallframe
