#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <set>
#include <string_view>
#include <vector>

#include "cli/time_text.h"
#include "pallframe/commands/commands.h"
#include "pallframe/doctor/dependencies.h"
#include "pallframe/frame_selector.h"
#include "pallframe/sandbox/frame_registry.h"
#include "pallframe/simulation/product.h"
#include "pallframe/simulation/stub_programs.h"

namespace pallframe {

namespace {

std::vector<cli::Completion> products(const cli::CompletionRequest&) {
    std::vector<cli::Completion> found;
    for (const simulation::Product& product : simulation::products()) {
        found.push_back({std::string(product.name), ""});
    }
    return found;
}

std::vector<cli::Completion> programs(const cli::CompletionRequest&) {
    std::vector<cli::Completion> found;
    for (const std::string& path : simulation::programPaths()) {
        found.push_back({path.substr(path.rfind('/') + 1), path});
    }
    return found;
}

std::vector<cli::Completion> runningFrames(const cli::CompletionRequest&) {
    std::vector<cli::Completion> found;
    for (const sandbox::RunningFrame& each : sandbox::Registry::ofUser().running()) {
        found.push_back(
            {std::to_string(each.pid), each.product + ", since " + cli::clockTime(each.started)});
    }
    return found;
}

std::string given(const cli::CompletionRequest& request, const char* option) {
    const auto found = request.options.find(option);
    return found == request.options.end() ? "" : found->second;
}

// The files that the daemon depends on: those that the frame has, and those that were set aside.
std::vector<cli::Completion> framePaths(const cli::CompletionRequest& request) {
    FrameSelector selector{given(request, "--frame-dir"), given(request, "--frame")};
    const simulation::FrameRoot tree = selector.tree();
    std::set<std::string> present;
    for (const doctor::Check& check : doctor::checks()) {
        const std::string path = doctor::extractPath(check);
        if (path.starts_with("/") && tree.exists(path)) {
            present.insert(path);
        }
    }
    std::vector<cli::Completion> found;
    found.reserve(present.size());
    for (const std::string& path : present) {
        found.push_back({path, ""});
    }
    for (const std::string& path : tree.filesSetAside()) {
        found.push_back({path, "missing"});
    }
    return found;
}

// Arguments with fixed values.
struct Choice {
    std::string_view command;
    std::string_view kind;
    std::array<const char*, 2> words;
};
constexpr Choice kChoices[] = {
    {"cable", "PORT", {"eth0", "eth1"}},
    {"cable", "STATE", {"down", "up"}},
    {"psu", "NUMBER", {"1", "2"}},
    {"file", "STATE", {"missing", "present"}},
};

// Arguments whose values depend on the frame.
struct Source {
    std::string_view kind;
    std::vector<cli::Completion> (*complete)(const cli::CompletionRequest& request);
};
constexpr Source kSources[] = {
    {"PRODUCT", products},
    {"PROGRAM", programs},
    {"FRAME", runningFrames},
    {"PATH", framePaths},
};

}  // namespace

std::vector<cli::Completion> completeFrameValues(const cli::CompletionRequest& request) try {
    for (const Choice& choice : kChoices) {
        if (choice.command == request.command && choice.kind == request.kind) {
            return {{choice.words[0], ""}, {choice.words[1], ""}};
        }
    }
    const auto source =
        std::find_if(std::begin(kSources), std::end(kSources),
                     [&request](const Source& each) { return each.kind == request.kind; });
    return source == std::end(kSources) ? std::vector<cli::Completion>()
                                        : source->complete(request);
} catch (const std::exception&) {
    return {};  // completion is silent on errors
}

}  // namespace pallframe
