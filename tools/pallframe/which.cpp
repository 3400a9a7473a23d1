#include "frame/devices.h"
#include "frame/paths.h"
#include "frame/product.h"
#include "frame/registry.h"
#include "verbs.h"

namespace pallframe {

namespace {

using frame::Tree;

bool isFrame(const Tree& tree) {
    return frame::findProduct(tree.read(frame::paths::kProduct)) != nullptr;
}

}  // namespace

void Which::addTo(Verb verb) {
    verb.add("--frame", frame, "A running frame, as list shows it").kind("FRAME");
    verb.add("--tree", directory, "A frame's directory").kind("DIR").excludes("--frame");
}

Tree Which::tree() {
    if (!directory.empty()) {
        if (!isFrame(Tree(directory))) {
            throw frame::BadRequest(directory + " is no simulated frame");
        }
        return Tree(directory);
    }
    if (frame.empty() && isFrame(Tree("/"))) {
        return Tree("/");
    }
    const frame::RunningFrame chosen = chooseFrame(frame::Registry::ofUser().running(), frame);
    frame = std::to_string(chosen.pid);
    return chosen.tree();
}

}  // namespace pallframe
