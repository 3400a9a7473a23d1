#pragma once

#include <string>
#include <vector>

#include "frame/registry.h"

namespace inspection {

// Frames that run for a person: a line for each, under a heading; only that when there are none.
std::string tableOf(const std::vector<frame::RunningFrame>& running);

// The same for a program: one JSON object a line.
std::string jsonOf(const std::vector<frame::RunningFrame>& running);

}  // namespace inspection
