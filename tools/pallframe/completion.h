#pragma once

#include <vector>

#include "cli/completion.h"

namespace pallframe {

// Completes the values that only this program knows: products, running frames, arguments of `set`,
// and files of the frame that can be set aside.
std::vector<cli::Completion> completeFrameValues(const cli::CompletionRequest& request);

}  // namespace pallframe
