#include <memory>

#include "cli/standard_output.h"
#include "frame/registry.h"
#include "inspection/frames.h"
#include "pallframe/commands/commands.h"

namespace pallframe {

void addList(cli::Command program, size_t) {
    const auto json = std::make_shared<bool>(false);
    cli::Command command = program.addCommand("list", "List running frames");
    command.addFlag("--json", *json, "One JSON object per line instead of a table");
    command.work([json] {
        const auto running = frame::Registry::ofUser().running();
        cli::print(*json ? inspection::jsonOf(running) : inspection::tableOf(running));
        return 0;
    });
}

}  // namespace pallframe
