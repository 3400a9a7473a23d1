#pragma once

#include <string>

#include "pallframe/simulation/product.h"

namespace pallframe::sandbox {

// How the root of a frame is made.
struct RootPlan {
    const simulation::Product* product;
    // An empty directory that becomes the root and that the host can see into; empty: the root
    // lives in memory, invisible to the host and gone with the last process of the frame.
    std::string directory;
};

// Makes the frame's root and makes it the root of this process, which has left the host's mounts
// and is process 1. The host's programs and libraries are there to be read. The current directory
// and the one of this program stay where they were, unless the frame has a directory of its own in
// that place. Throws std::system_error.
void enterRoot(const RootPlan& plan);

// Inside a frame that a person enters: makes /proc show the processes of a long session. A new
// frame shows the first hundreds, which is what a test needs, and is made the faster for it. Throws
// std::system_error.
void showManyProcesses();

}  // namespace pallframe::sandbox
