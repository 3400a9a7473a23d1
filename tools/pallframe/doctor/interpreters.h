#pragma once

#include <string>
#include <vector>

namespace pallframe::doctor {

// The programs that a script needs to run: the one that its first line names and, after env(1),
// also the one that env looks for. Empty when the text is not a script.
std::vector<std::string> findInterpreters(const std::string& text);

}  // namespace pallframe::doctor
