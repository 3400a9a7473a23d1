#include "pallbus/commands/commands.h"
#include "pallbus/control_commands.h"
#include "program/standard_output.h"

namespace pallbus {

void addStatus(Verb program, Invocation& invocation) {
    Verb command =
        program.addVerb("status", "List faults, active and scheduled, and the recording");
    excludeServeOptions(command);
    command.action([&invocation] {
        invocation.run = [&invocation] {
            print(sendToBus(invocation.port, kStatusCommand));
            return 0;
        };
    });
}

}  // namespace pallbus
