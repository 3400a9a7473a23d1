#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>

#include "frame/changes.h"
#include "inspection/status.h"
#include "player.h"
#include "program/standard_output.h"
#include "verbs.h"

namespace pallframe {

namespace {

void addChange(Verb set, const frame::ChangeKind& kind, const std::shared_ptr<Which>& which) {
    const auto words = std::make_shared<std::array<std::string, 2>>();
    Verb verb = set.addVerb(std::string(kind.name), std::string(kind.about));
    verb.optionsGoAnywhere();  // --tree may also stand last
    for (size_t i = 0; i < kind.arguments.size() && !kind.arguments[i].empty(); ++i) {
        verb.add(std::string(kind.arguments[i]), (*words)[i]).required();
    }
    verb.action([&kind, words, which] {
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
    std::printf("%9.3f s  %s\n", std::chrono::duration<double>(step.at).count(), step.text.c_str());
    flushOutput();
}

}  // namespace

void addSet(Verb program, Call&) {
    const auto which = std::make_shared<Which>();
    Verb set = program.addVerb("set", "Change a frame while it runs");
    set.needsVerb();
    which->addTo(set);
    for (const frame::ChangeKind& kind : frame::changeKinds()) {
        addChange(set, kind, which);
    }
}

void addPlay(Verb program, Call&) {
    const auto words = std::make_shared<PlayWords>();
    Verb verb = program.addVerb("play", "Play a scenario on a frame that runs");
    verb.add("FILE", words->file, "Changes and their times").required();
    verb.add("--speed", words->speed, "How many times as fast")
        .kind("FACTOR")
        .check(numberBetween(0.001, 1000))
        .showsDefault();
    words->which.addTo(verb);
    verb.action([words] {
        const Scenario scenario = readScenarioFile(words->file);
        // What has begun to happen to the frame goes on when nobody reads of it any more.
        std::signal(SIGPIPE, SIG_IGN);
        const frame::Tree tree = words->which.tree();
        checkScenario(tree, scenario);
        play(tree, scenario, words->speed, [&](const frame::ScenarioStep& step) {
            words->which.tree();  // files that are held would take changes after the frame's end
            printStep(step);
        });
    });
}

void addStatus(Verb program, Call&) {
    const auto words = std::make_shared<StatusWords>();
    Verb verb = program.addVerb("status", "Ports, voltages, services, what was called");
    verb.addFlag("--json", words->json, "One JSON object instead of a table");
    words->which.addTo(verb);
    verb.action([words] {
        const inspection::FrameStatus status = inspection::statusOf(words->which.tree());
        print(words->json ? jsonOf(status) : tableOf(status));
    });
}

}  // namespace pallframe
