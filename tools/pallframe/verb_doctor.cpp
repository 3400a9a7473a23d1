#include <cstdio>
#include <memory>

#include "cli/standard_output.h"
#include "frame/registry.h"
#include "inspection/report.h"
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
        cli::print(jsonOf(diagnosis));
    } else {
        const std::string& frame = words.which.frame;
        const std::string& given = words.root.empty() ? words.which.directory : words.root;
        const std::string root = given.empty() ? "/" : given;
        std::printf("%-16s%s\n", frame.empty() ? "root" : "frame",
                    (frame.empty() ? root : frame).c_str());
        cli::print(linesOf(diagnosis));
    }
    return diagnosis.isWell() ? 0 : 1;
}

}  // namespace

void addDoctor(cli::Command program, const Call&) {
    const auto words = std::make_shared<DoctorWords>();
    cli::Command command =
        program.addCommand("doctor", "What a frame lacks, and what comes of that");
    words->which.addTo(command);
    command.add("--root", words->root, "Another frame's root directory, or / of this machine")
        .kind("DIR")
        .check(cli::existingDirectory())
        .excludes("--frame")
        .excludes("--tree");
    command.addFlag("--json", words->json, "One JSON object instead of lines");
    command.work([words] { return examine(*words); });
}

}  // namespace pallframe
