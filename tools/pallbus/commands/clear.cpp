#include "pallbus/commands/commands.h"
#include "pallbus/control_commands.h"

namespace pallbus {

void addClear(Verb program, Invocation& invocation) {
    Verb command = program.addVerb("clear", "End all faults, active and scheduled");
    excludeServeOptions(command);
    command.action([&invocation] {
        invocation.run = [&invocation] {
            sendToBus(invocation.port, kClearCommand);
            return 0;
        };
    });
}

}  // namespace pallbus
