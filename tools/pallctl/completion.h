#pragma once

#include <vector>

#include "cli/completion.h"

namespace pallctl {

// Completes names and values from the device that the earlier options select. Empty, without an
// error message, when the device does not answer within half a second.
std::vector<cli::Completion> completeFromDevice(const cli::CompletionRequest& request);

}  // namespace pallctl
