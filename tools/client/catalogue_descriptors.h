#pragma once

#include <vector>

#include "client/descriptor.h"

namespace pallctl {

// What the daemon would say of each parameter of its catalogue, under its full name there. For
// where it cannot be asked: through a prefix a descriptor by name renames the parameter.
std::vector<Descriptor> catalogueDescriptors();

}  // namespace pallctl
