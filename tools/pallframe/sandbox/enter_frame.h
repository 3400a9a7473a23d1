#pragma once

#include <string>
#include <vector>

#include "pallframe/sandbox/frame_registry.h"

namespace pallframe::sandbox {

// Runs a command, or without one an interactive shell, in the namespaces of a running frame: with
// its network, processes and files. Returns the exit status as a shell would. Throws
// std::system_error when the frame cannot be entered; nothing was run then.
int enterFrame(const RunningFrame& frame, const std::vector<std::string>& command);

}  // namespace pallframe::sandbox
