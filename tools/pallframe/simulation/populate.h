#pragma once

#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/product.h"

namespace pallframe::simulation {

// Makes a tree look like a frame of that product that has just been switched on: both cables in,
// supplies and battery good, no service started, nothing written down. What another product had and
// this one has not is taken away; files that the simulation knows nothing of stay. Throws
// std::system_error.
void populate(const FrameRoot& tree, const Product& product);

}  // namespace pallframe::simulation
