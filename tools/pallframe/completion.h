#pragma once

#include <vector>

#include "cli/completion_request.h"

namespace pallframe {

// What a shell may offer and only this program knows: products, running frames, the words of
// what can be set, and what the frame has that can be taken away.
std::vector<cli::Completion> completeFrameValues(const cli::CompletionRequest& request);

}  // namespace pallframe
