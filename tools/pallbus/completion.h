#pragma once

#include <vector>

#include "cli/completion.h"

namespace pallbus {

// Completes faults: word by word, or as one word in quotes.
std::vector<cli::Completion> completeFault(const cli::CompletionRequest& request);

}  // namespace pallbus
