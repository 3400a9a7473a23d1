#pragma once

#include <string>
#include <vector>

#include "frame/registry.h"

namespace pallframe {

// Runs a command, or without one an interactive shell, inside a frame that runs: with its network,
// its processes and its files, as one of the programs there. Result: the exit status as a shell has
// it. Throws std::system_error when the frame cannot be entered; nothing was run then.
int enterFrame(const frame::RunningFrame& frame, const std::vector<std::string>& command);

}  // namespace pallframe
