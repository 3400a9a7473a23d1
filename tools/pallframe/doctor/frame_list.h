#pragma once

#include <string>
#include <vector>

#include "pallframe/sandbox/frame_registry.h"

namespace pallframe::doctor {

// A table of the frames with a heading; without frames only the heading.
std::string formatTable(const std::vector<sandbox::RunningFrame>& running);

// One JSON object on a line for each frame.
std::string formatJSON(const std::vector<sandbox::RunningFrame>& running);

}  // namespace pallframe::doctor
