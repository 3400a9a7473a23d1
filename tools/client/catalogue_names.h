#pragma once

#include <string>
#include <vector>

namespace pallctl {

// The full names of all parameters in the daemon's catalogue, in its order. No request lists them:
// the descriptor of the whole device knows only those that are saved.
std::vector<std::string> catalogueNames();

}  // namespace pallctl
