#include "cli/standard_output.h"
#include "pallbus/commands/commands.h"
#include "pallbus/control_commands.h"

namespace pallbus {

void addStatus(cli::Command program, const uint16_t& port) {
    cli::Command command =
        addBusCommand(program, "status", "List faults, active and scheduled, and the recording");
    command.work([&port] {
        cli::print(sendToBus(port, kStatusCommand));
        return 0;
    });
}

}  // namespace pallbus
