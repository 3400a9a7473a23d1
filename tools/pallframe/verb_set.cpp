#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>

#include "cli/standard_output.h"
#include "frame/changes.h"
#include "inspection/status.h"
#include "player.h"
#include "verbs.h"

namespace pallframe {

namespace {

void addChange(cli::Command set, const frame::ChangeKind& kind,
               const std::shared_ptr<Which>& which) {
    const auto words = std::make_shared<std::array<std::string, 2>>();
    cli::Command command = set.addCommand(std::string(kind.name), std::string(kind.about));
    command.allowOptionsAnywhere();  // --tree may also stand last
    for (size_t i = 0; i < kind.arguments.size() && !kind.arguments[i].empty(); ++i) {
        command.add(std::string(kind.arguments[i]), (*words)[i]).required();
    }
    command.work([&kind, words, which] {
        frame::Words all{std::string(kind.name), (*words)[0]};
        if (!kind.arguments[1].empty()) {
            all.push_back((*words)[1]);
        }
        frame::readChange(all)(which->tree());
        return 0;
    });
}

struct StatusWords {
    Which which;
    bool json = false;
};

struct PlayWords {
    Which which;
    std::string file;
    double speed = 1;
};

void printStep(const frame::ScenarioStep& step) {
    std::printf("%9.3f s  %s\n", std::chrono::duration<double>(step.at).count(), step.text.c_str());
    cli::flushOutput();
}

}  // namespace

void addSet(cli::Command program, const Call&) {
    const auto which = std::make_shared<Which>();
    cli::Command set = program.addCommand("set", "Change a frame while it runs");
    set.requireCommand();
    which->addTo(set);
    for (const frame::ChangeKind& kind : frame::changeKinds()) {
        addChange(set, kind, which);
    }
}

void addPlay(cli::Command program, const Call&) {
    const auto words = std::make_shared<PlayWords>();
    cli::Command command = program.addCommand("play", "Play a scenario on a frame that runs");
    command.add("FILE", words->file, "Changes and their times").required();
    command.add("--speed", words->speed, "How many times as fast")
        .kind("FACTOR")
        .check(cli::numberBetween(0.001, 1000))
        .showsDefault();
    words->which.addTo(command);
    command.work([words] {
        const Scenario scenario = readScenarioFile(words->file);
        // What has begun to happen to the frame goes on when nobody reads of it any more.
        std::signal(SIGPIPE, SIG_IGN);
        const frame::Tree tree = words->which.tree();
        checkScenario(tree, scenario);
        play(tree, scenario, words->speed, [&](const frame::ScenarioStep& step) {
            words->which.tree();  // files that are held would take changes after the frame's end
            printStep(step);
        });
        return 0;
    });
}

void addStatus(cli::Command program, const Call&) {
    const auto words = std::make_shared<StatusWords>();
    cli::Command command =
        program.addCommand("status", "Ports, voltages, services, what was called");
    command.addFlag("--json", words->json, "One JSON object instead of a table");
    words->which.addTo(command);
    command.work([words] {
        const inspection::FrameStatus status = inspection::statusOf(words->which.tree());
        cli::print(words->json ? jsonOf(status) : tableOf(status));
        return 0;
    });
}

}  // namespace pallframe
