#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string>

#include "cli/standard_output.h"
#include "pallframe/commands/commands.h"
#include "pallframe/frame_selector.h"
#include "pallframe/simulation/scenario.h"

namespace pallframe {

namespace {

struct Arguments {
    FrameSelector selector;
    std::string file;
    double speed = 1;
};

void printStep(const simulation::ScenarioStep& step) {
    std::printf("%9.3f s  %s\n", std::chrono::duration<double>(step.at).count(), step.text.c_str());
    cli::flushOutput();
}

int playFile(Arguments& arguments) {
    const simulation::Scenario scenario = simulation::readScenarioFile(arguments.file);
    // The scenario goes on when the reader of the output has gone.
    std::signal(SIGPIPE, SIG_IGN);
    const simulation::FrameRoot tree = arguments.selector.tree();
    simulation::checkScenario(tree, scenario.steps, scenario.file);
    simulation::play(tree, scenario, arguments.speed, [&](const simulation::ScenarioStep& step) {
        arguments.selector.tree();  // throws once the frame has ended, though its files are held
        printStep(step);
    });
    return 0;
}

}  // namespace

void addPlay(cli::Command program, size_t) {
    const auto arguments = std::make_shared<Arguments>();
    cli::Command command = program.addCommand("play", "Play a scenario on a running frame");
    command.add("FILE", arguments->file, "Changes and their times").required();
    command.add("--speed", arguments->speed, "Factor to the speed of the scenario")
        .kind("FACTOR")
        .check(cli::numberBetween(0.001, 1000))
        .showsDefault();
    arguments->selector.addTo(command);
    command.work([arguments] { return playFile(*arguments); });
}

}  // namespace pallframe
