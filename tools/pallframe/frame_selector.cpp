#include "pallframe/frame_selector.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

#include "cli/parse_number.h"
#include "pallframe/sandbox/frame_process.h"
#include "pallframe/sandbox/frame_registry.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/product.h"
#include "pallframe/simulation/stub_programs.h"

namespace pallframe {

namespace {

using simulation::FrameRoot;

bool isFrame(const FrameRoot& tree) {
    return simulation::findProduct(tree.read(simulation::paths::kProduct)) != nullptr;
}

// The number of the frame that this program runs in, from its environment.
std::string ownNumber() {
    const char* const number = std::getenv(sandbox::kNumberVariable);
    return number == nullptr ? "" : number;
}

// The command of "pallframe run OPTIONS -- COMMAND", which is the frame's first process.
std::string readOwnCommand() {
    std::ifstream line("/proc/1/cmdline");
    std::vector<std::string> words;
    for (std::string word; std::getline(line, word, '\0');) {
        words.push_back(word);
    }
    const auto dashes = std::ranges::find(words, "--");
    words.erase(words.begin(), dashes == words.end() ? dashes : dashes + 1);
    return simulation::commandLine(words);
}

// Inside a frame only the frames that were made in it are visible, not those of the host.
sandbox::RunningFrame choose(const std::string& name, bool isInside) {
    const auto running = sandbox::Registry::ofUser().running();
    if (isInside && running.empty()) {
        throw simulation::FrameError("inside a frame, omit --frame");
    }
    return sandbox::chooseFrame(running, name);
}

}  // namespace

std::optional<sandbox::RunningFrame> findOwnFrame() {
    const FrameRoot root("/");
    const auto number = cli::parseNumber<pid_t>(ownNumber());
    if (!isFrame(root) || !number) {
        return std::nullopt;
    }
    sandbox::RunningFrame frame{*number, "/"};
    frame.product = root.read(simulation::paths::kProduct);
    frame.command = readOwnCommand();
    frame.started = std::chrono::file_clock::to_sys(
        std::filesystem::last_write_time(root.path(simulation::paths::kProduct)));
    return frame;
}

void FrameSelector::addTo(cli::Command command) {
    command.add("--frame", frame, "A running frame, as list shows it").kind("FRAME");
    command.add("--frame-dir", directory, "A frame's directory").kind("DIR").excludes("--frame");
}

FrameRoot FrameSelector::tree() {
    if (!directory.empty()) {
        if (!isFrame(FrameRoot(directory))) {
            throw simulation::FrameError(directory + " is not a simulated frame");
        }
        return FrameRoot(directory);
    }
    const bool isInside = isFrame(FrameRoot("/"));
    if (isInside && (frame.empty() || frame == ownNumber())) {
        return FrameRoot("/");
    }
    const sandbox::RunningFrame chosen = choose(frame, isInside);
    frame = std::to_string(chosen.pid);
    return chosen.tree();
}

}  // namespace pallframe
