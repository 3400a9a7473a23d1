#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "pallframe/commands/commands.h"
#include "pallframe/sandbox/enter_frame.h"
#include "pallframe/sandbox/frame_registry.h"
#include "pallframe/simulation/devices.h"

namespace pallframe {

namespace {

struct Arguments {
    std::string frame;
    std::string directory;
    std::vector<std::string> command;
};

// The parser fills positional arguments from the left, so the first word of the command may be in
// the place of the frame's number; the number of words after "--" decides.
int enter(Arguments arguments, size_t wordsAfterDashes) {
    if (!arguments.frame.empty() && arguments.command.size() < wordsAfterDashes) {
        arguments.command.insert(arguments.command.begin(), std::exchange(arguments.frame, ""));
    }
    if (arguments.command.size() != wordsAfterDashes) {
        throw simulation::FrameError(
            "the command for the frame follows --, such as: enter -- ls /");
    }
    if (!arguments.frame.empty() && !arguments.directory.empty()) {
        throw simulation::FrameError("give either the number of the frame or --frame-dir");
    }
    const auto running = sandbox::Registry::ofUser().running();
    return sandbox::enterFrame(arguments.directory.empty()
                                   ? sandbox::chooseFrame(running, arguments.frame)
                                   : sandbox::frameIn(running, arguments.directory),
                               arguments.command);
}

}  // namespace

void addEnter(cli::Command program, size_t wordsAfterDashes) {
    const auto arguments = std::make_shared<Arguments>();
    cli::Command command =
        program.addCommand("enter", "Run a shell or a command in a running frame");
    command.add("FRAME", arguments->frame, "Its number in list; not needed for a single frame");
    command.add("COMMAND", arguments->command, "After --; otherwise a shell");
    command.add("--frame-dir", arguments->directory, "The frame with its files in this directory")
        .kind("DIR");
    command.work([arguments, wordsAfterDashes] { return enter(*arguments, wordsAfterDashes); });
}

}  // namespace pallframe
