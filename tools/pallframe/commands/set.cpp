#include <array>
#include <memory>
#include <string>

#include "pallframe/commands/commands.h"
#include "pallframe/frame_selector.h"
#include "pallframe/simulation/operations.h"

namespace pallframe {

namespace {

// As an error of the command line, which names the command.
simulation::Operation parseChange(const simulation::Words& words) {
    try {
        return simulation::parseOperation(words);
    } catch (const simulation::FrameError& error) {
        throw cli::UsageError(error.what());
    }
}

void addChange(cli::Command set, const simulation::OperationKind& kind,
               const std::shared_ptr<FrameSelector>& selector) {
    const auto arguments = std::make_shared<std::array<std::string, 2>>();
    cli::Command command = set.addCommand(std::string(kind.name), std::string(kind.about));
    command.allowOptionsAnywhere();  // --frame-dir may also stand last
    for (size_t i = 0; i < kind.arguments.size() && !kind.arguments[i].empty(); ++i) {
        command.add(std::string(kind.arguments[i]), (*arguments)[i]).required();
    }
    command.work([&kind, arguments, selector] {
        simulation::Words words{std::string(kind.name), (*arguments)[0]};
        if (!kind.arguments[1].empty()) {
            words.push_back((*arguments)[1]);
        }
        parseChange(words)(selector->tree());
        return 0;
    });
}

}  // namespace

void addSet(cli::Command program, size_t) {
    const auto selector = std::make_shared<FrameSelector>();
    cli::Command set = program.addCommand("set", "Change a running frame");
    set.requireCommand();
    selector->addTo(set);
    for (const simulation::OperationKind& kind : simulation::operationKinds()) {
        addChange(set, kind, selector);
    }
}

}  // namespace pallframe
