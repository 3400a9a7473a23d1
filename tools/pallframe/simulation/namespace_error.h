#pragma once

#include <functional>
#include <string>

namespace pallframe::simulation {

// What a person is to do when the kernel gives them no namespaces: the switch to set when there is
// one that forbids it, with its command, otherwise to become root. `error` is what the kernel said;
// `readValue` gives the first word of a file, empty when there is none. One line, no line end.
std::string describeNamespaceError(int error,
                                   const std::function<std::string(const char* file)>& readValue);

}  // namespace pallframe::simulation
