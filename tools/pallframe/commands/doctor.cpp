#include <unistd.h>

#include <cstdio>
#include <memory>

#include "cli/standard_output.h"
#include "cli/table.h"
#include "pallframe/commands/commands.h"
#include "pallframe/doctor/report.h"
#include "pallframe/frame_selector.h"
#include "pallframe/sandbox/frame_registry.h"

namespace pallframe {

namespace {

struct Arguments {
    FrameSelector selector;
    std::string root;
    bool json = false;
};

// Without a simulated frame, this machine may be a real one.
simulation::FrameRoot selectTree(Arguments& arguments) {
    const bool isSimulated = !arguments.selector.frame.empty() ||
                             !arguments.selector.directory.empty() ||
                             !sandbox::Registry::ofUser().running().empty();
    if (!arguments.root.empty() || !isSimulated) {
        return simulation::FrameRoot(arguments.root.empty() ? "/" : arguments.root);
    }
    return arguments.selector.tree();
}

int examine(Arguments& arguments) {
    const simulation::FrameRoot tree = selectTree(arguments);
    const auto diagnosis = doctor::diagnose(doctor::RootProbe(tree.path("/")));
    if (arguments.json) {
        cli::print(formatJSON(diagnosis));
    } else {
        const std::string& frame = arguments.selector.frame;
        const std::string& given =
            arguments.root.empty() ? arguments.selector.directory : arguments.root;
        const std::string root = given.empty() ? "/" : given;
        std::printf("%-16s%s\n", frame.empty() ? "root" : "frame",
                    (frame.empty() ? root : frame).c_str());
        cli::print(formatText(diagnosis, cli::readTerminalWidth(STDOUT_FILENO)));
    }
    return diagnosis.isWell() ? 0 : 1;
}

}  // namespace

void addDoctor(cli::Command program, size_t) {
    const auto arguments = std::make_shared<Arguments>();
    cli::Command command = program.addCommand("doctor", "Check what the daemon needs from a frame");
    arguments->selector.addTo(command);
    command.add("--root", arguments->root, "Another frame's root directory, or / of this machine")
        .kind("DIR")
        .check(cli::existingDirectory())
        .excludes("--frame")
        .excludes("--frame-dir");
    command.addFlag("--json", arguments->json, "One JSON object instead of lines");
    command.work([arguments] { return examine(*arguments); });
}

}  // namespace pallframe
