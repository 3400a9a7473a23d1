#pragma once

#include <string>
#include <vector>

#include "pallframe/sandbox/frame_registry.h"

namespace pallframe::doctor {

// Frames that run for a person: a line for each, under a heading; only that when there are none.
std::string formatTable(const std::vector<sandbox::RunningFrame>& running);

// The same for a program: one JSON object a line.
std::string formatJSON(const std::vector<sandbox::RunningFrame>& running);

}  // namespace pallframe::doctor
