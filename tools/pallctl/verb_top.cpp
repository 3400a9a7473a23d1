// The verb that takes the whole screen.

#include <memory>
#include <string>

#include "bus/misframed.h"
#include "top/bad_usage.h"
#include "top/top.h"
#include "verbs.h"

namespace pallctl {

namespace {

struct TopWords {
    std::string record;
    std::string play;
};

ExitStatus runTop(const Common& common, const TopWords& words) {
    if (!takesForm(common, "top")) {
        return kUsage;
    }
    // The screen is taken.
    lumo::replaceMisframedSink([](std::string_view) {});
    try {
        return top::run({common.reach, words.record, words.play});
    } catch (const top::BadUsage& error) {
        complain("top", error.what());
        return kUsage;
    }
}

}  // namespace

void addTop(Verb program, Run& run) {
    Verb verb = program.addVerb("top", "Show everything on the whole screen");
    const auto words = std::make_shared<TopWords>();
    verb.add("--record", words->record, "Record to this file").kind("FILE");
    verb.add("--play", words->play, "Show this recording; needs no bus")
        .kind("FILE")
        .excludes("--record");
    verb.notes("Press ? for the keys.");
    verb.action(
        [&run, words] { run = [words](const Common& common) { return runTop(common, *words); }; });
}

}  // namespace pallctl
