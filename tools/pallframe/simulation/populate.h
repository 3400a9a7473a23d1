#pragma once

#include <string_view>
#include <vector>

#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/product.h"

namespace pallframe::simulation {

// Makes a tree look like a frame of that product that has just been switched on: both cables in,
// supplies and battery good, no service started, nothing written down. What another product had and
// this one has not is taken away; files that the simulation knows nothing of stay. Throws
// std::system_error.
void populate(const FrameRoot& tree, const Product& product);

// The names of the products whose frames have this file from the start; empty for a file that
// populate() does not make.
std::vector<std::string_view> findProductsWith(std::string_view path);

}  // namespace pallframe::simulation
