#include "pallframe/frame_selector.h"

#include <cstdlib>

#include "pallframe/sandbox/frame_process.h"
#include "pallframe/sandbox/frame_registry.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/product.h"

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

// Inside a frame only the frames that were made in it are visible, not those of the host.
sandbox::RunningFrame choose(const std::string& name, bool isInside) {
    const auto running = sandbox::Registry::ofUser().running();
    if (isInside && running.empty()) {
        throw simulation::FrameError("inside a frame, omit --frame");
    }
    return sandbox::chooseFrame(running, name);
}

}  // namespace

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
