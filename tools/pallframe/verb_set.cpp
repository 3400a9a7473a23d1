#include <array>
#include <chrono>
#include <cstdio>
#include <memory>

#include "frame/changes.h"
#include "inspection/status.h"
#include "player.h"
#include "program/standard_output.h"
#include "verbs.h"

namespace pallframe {

namespace {

void addChange(CLI::App& set, const frame::ChangeKind& kind, const std::shared_ptr<Which>& which) {
    const auto words = std::make_shared<std::array<std::string, 2>>();
    CLI::App* verb = set.add_subcommand(std::string(kind.name), std::string(kind.about));
    verb->fallthrough();  // --tree may also stand last
    for (size_t i = 0; i < kind.arguments.size() && !kind.arguments[i].empty(); ++i) {
        verb->add_option(std::string(kind.arguments[i]), (*words)[i])->required();
    }
    verb->callback([&kind, words, which] {
        frame::Words all{std::string(kind.name), (*words)[0]};
        if (!kind.arguments[1].empty()) {
            all.push_back((*words)[1]);
        }
        frame::readChange(all)(which->tree());
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
    std::printf("%8.1f s  %s\n", std::chrono::duration<double>(step.at).count(), step.text.c_str());
    std::fflush(stdout);
}

}  // namespace

void addSet(CLI::App& app, Call&) {
    const auto which = std::make_shared<Which>();
    CLI::App* set = app.add_subcommand("set", "Change a frame while it runs");
    set->require_subcommand(1);
    which->addTo(*set);
    for (const frame::ChangeKind& kind : frame::changeKinds()) {
        addChange(*set, kind, which);
    }
}

void addPlay(CLI::App& app, Call&) {
    const auto words = std::make_shared<PlayWords>();
    CLI::App* verb = app.add_subcommand("play", "Play a scenario on a frame that runs");
    verb->add_option("FILE", words->file, "Changes and their times")->required();
    verb->add_option("--speed", words->speed, "How many times as fast")
        ->type_name("FACTOR")
        ->check(CLI::Range(0.001, 1000.0))
        ->capture_default_str();
    words->which.addTo(*verb);
    verb->callback([words] {
        const Scenario scenario = readScenarioFile(words->file);
        play(words->which.tree(), scenario, words->speed, [&](const frame::ScenarioStep& step) {
            words->which.tree();  // files that are held would take changes after the frame's end
            printStep(step);
        });
    });
}

void addStatus(CLI::App& app, Call&) {
    const auto words = std::make_shared<StatusWords>();
    CLI::App* verb = app.add_subcommand("status", "Ports, voltages, services, what was called");
    verb->add_flag("--json", words->json, "One JSON object instead of a table");
    words->which.addTo(*verb);
    verb->callback([words] {
        const inspection::FrameStatus status = inspection::statusOf(words->which.tree());
        print(words->json ? jsonOf(status) : tableOf(status));
    });
}

}  // namespace pallframe
