#include <cstdlib>

#include "frame/devices.h"
#include "frame/paths.h"
#include "frame/product.h"
#include "frame/registry.h"
#include "process.h"
#include "verbs.h"

namespace pallframe {

namespace {

using frame::Tree;

bool isFrame(const Tree& tree) {
    return frame::findProduct(tree.read(frame::paths::kProduct)) != nullptr;
}

// The number of the frame that this program runs in, as its commands are told it.
std::string ownNumber() {
    const char* const number = std::getenv(kNumberVariable);
    return number == nullptr ? "" : number;
}

// From inside, the frames of the host are not to be seen, only those that were made in this one.
frame::RunningFrame choose(const std::string& name, bool isInside) {
    const auto running = frame::Registry::ofUser().running();
    if (isInside && running.empty()) {
        throw frame::BadRequest("you are inside a frame: leave --frame away");
    }
    return chooseFrame(running, name);
}

}  // namespace

void Which::addTo(cli::Command command) {
    command.add("--frame", frame, "A running frame, as list shows it").kind("FRAME");
    command.add("--tree", directory, "A frame's directory").kind("DIR").excludes("--frame");
}

Tree Which::tree() {
    if (!directory.empty()) {
        if (!isFrame(Tree(directory))) {
            throw frame::BadRequest(directory + " is no simulated frame");
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
