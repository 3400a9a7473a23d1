#pragma once

#include <string>

#include "frame/tree.h"

namespace frame {

// A frame's state in lines for a person: product, ports, voltages, services, files put aside, and
// what the programs were told, oldest first. Throws BadRequest when the tree is no frame.
std::string describe(const Tree& tree);

}  // namespace frame
