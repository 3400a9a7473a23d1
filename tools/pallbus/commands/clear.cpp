#include "pallbus/commands/commands.h"
#include "pallbus/control_commands.h"

namespace pallbus {

void addClear(cli::Command program, const uint16_t& port) {
    cli::Command command = addBusCommand(program, "clear", "End all faults, active and scheduled");
    command.work([&port] {
        sendToBus(port, kClearCommand);
        return 0;
    });
}

}  // namespace pallbus
