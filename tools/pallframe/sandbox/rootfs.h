#pragma once

#include <string>

#include "pallframe/simulation/product.h"

namespace pallframe::sandbox {

// Builds the frame's root and makes it the root of this process, which is process 1 and has its own
// mount namespace. The host's programs and libraries are readable. The current directory and that
// of this program keep their paths, unless the frame has a directory of its own there. `directory`
// is empty for a root in memory, which the host does not see and which is gone with the last
// process of the frame; otherwise an empty directory that becomes the root and is visible on the
// host. Throws std::system_error.
void enterRoot(const simulation::Product& product, const std::string& directory);

// Makes /proc of this frame show the processes of a long session. A new frame shows only the first
// few hundred, which is enough for a test and quicker to make. Throws std::system_error.
void showManyProcesses();

}  // namespace pallframe::sandbox
