#pragma once

#include <string>
#include <vector>

namespace pallframe::doctor {

// What has to be there so that a script can be run: the program that its first line names, and
// behind env(1) also the one that is looked for by its name. None when the text is no script's.
std::vector<std::string> findInterpreters(const std::string& text);

}  // namespace pallframe::doctor
