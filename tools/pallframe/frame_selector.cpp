#include "pallframe/frame_selector.h"

#include <cstdlib>

#include "frame/devices.h"
#include "frame/paths.h"
#include "frame/product.h"
#include "frame/registry.h"
#include "pallframe/sandbox/process.h"

namespace pallframe {

namespace {

using frame::Tree;

bool isFrame(const Tree& tree) {
    return frame::findProduct(tree.read(frame::paths::kProduct)) != nullptr;
}

// The number of the frame that this program runs in, from its environment.
std::string ownNumber() {
    const char* const number = std::getenv(kNumberVariable);
    return number == nullptr ? "" : number;
}

// Inside a frame only the frames that were made in it are visible, not those of the host.
frame::RunningFrame choose(const std::string& name, bool isInside) {
    const auto running = frame::Registry::ofUser().running();
    if (isInside && running.empty()) {
        throw frame::BadRequest("inside a frame, omit --frame");
    }
    return chooseFrame(running, name);
}

}  // namespace

void FrameSelector::addTo(cli::Command command) {
    command.add("--frame", frame, "A running frame, as list shows it").kind("FRAME");
    command.add("--frame-dir", directory, "A frame's directory").kind("DIR").excludes("--frame");
}

Tree FrameSelector::tree() {
    if (!directory.empty()) {
        if (!isFrame(Tree(directory))) {
            throw frame::BadRequest(directory + " is not a simulated frame");
        }
        return Tree(directory);
    }
    const bool isInside = isFrame(Tree("/"));
    if (isInside && (frame.empty() || frame == ownNumber())) {
        return Tree("/");
    }
    const frame::RunningFrame chosen = choose(frame, isInside);
    frame = std::to_string(chosen.pid);
    return chosen.tree();
}

}  // namespace pallframe
