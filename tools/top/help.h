#pragma once

#include <vector>

#include "top/picture.h"
#include "top/scene.h"

namespace top {

// What every key does, in place of panels and table.
std::vector<Line> helpLines(const Scene& scene);

}  // namespace top
