#include <cstdio>
#include <memory>

#include "frame/registry.h"
#include "inspection/report.h"
#include "program/standard_output.h"
#include "verbs.h"

namespace pallframe {

namespace {

struct DoctorWords {
    Which which;
    std::string root;
    bool json = false;
};

// Where no simulated frame is meant or runs, this machine may be a real one.
frame::Tree treeOf(DoctorWords& words) {
    const bool isFrameMeant = !words.which.frame.empty() || !words.which.directory.empty() ||
                              !frame::Registry::ofUser().running().empty();
    if (!words.root.empty() || !isFrameMeant) {
        return frame::Tree(words.root.empty() ? "/" : words.root);
    }
    return words.which.tree();
}

int examine(DoctorWords& words) {
    const frame::Tree tree = treeOf(words);
    const auto diagnosis = inspection::diagnose(inspection::Root(tree.path("/")));
    if (words.json) {
        print(jsonOf(diagnosis));
    } else {
        const std::string& frame = words.which.frame;
        const std::string& given = words.root.empty() ? words.which.directory : words.root;
        const std::string root = given.empty() ? "/" : given;
        std::printf("%-16s%s\n", frame.empty() ? "root" : "frame",
                    (frame.empty() ? root : frame).c_str());
        print(linesOf(diagnosis));
    }
    return diagnosis.isWell() ? 0 : 1;
}

}  // namespace

void addDoctor(Verb program, Call& call) {
    const auto words = std::make_shared<DoctorWords>();
    Verb verb = program.addVerb("doctor", "What a frame lacks, and what comes of that");
    words->which.addTo(verb);
    verb.add("--root", words->root, "Another frame's root directory, or / of this machine")
        .kind("DIR")
        .check(existingDirectory())
        .excludes("--frame")
        .excludes("--tree");
    verb.addFlag("--json", words->json, "One JSON object instead of lines");
    verb.action([words, &call] { call.status = examine(*words); });
}

}  // namespace pallframe
