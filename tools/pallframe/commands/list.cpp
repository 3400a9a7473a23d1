#include <unistd.h>

#include <memory>

#include "cli/standard_output.h"
#include "cli/table.h"
#include "pallframe/commands/commands.h"
#include "pallframe/doctor/frame_list.h"
#include "pallframe/frame_selector.h"
#include "pallframe/sandbox/frame_registry.h"

namespace pallframe {

void addList(cli::Command program, size_t) {
    const auto json = std::make_shared<bool>(false);
    cli::Command command = program.addCommand("list", "List running frames");
    command.addFlag("--json", *json, "One JSON object per line instead of a table");
    command.work([json] {
        auto running = sandbox::Registry::ofUser().running();
        if (const auto own = findOwnFrame()) {
            running.insert(running.begin(), *own);
        }
        cli::print(*json ? doctor::formatJSON(running)
                         : doctor::formatTable(running, cli::readTerminalWidth(STDOUT_FILENO)));
        return 0;
    });
}

}  // namespace pallframe
