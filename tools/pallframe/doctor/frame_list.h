#pragma once

#include <string>
#include <vector>

#include "pallframe/sandbox/frame_registry.h"

namespace pallframe::doctor {

// A table of the frames with a heading, at most `maxWidth` columns wide (0: any width); without
// frames only the heading.
std::string formatTable(const std::vector<sandbox::RunningFrame>& running, size_t maxWidth = 0);

// One JSON object on a line for each frame.
std::string formatJSON(const std::vector<sandbox::RunningFrame>& running);

}  // namespace pallframe::doctor
