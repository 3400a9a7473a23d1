#pragma once

#include <string>

// What this process prints. A reader that has gone had all that it wanted; when anything else keeps
// the output from being written, these throw std::runtime_error, "standard output: reason".

namespace pallctl {

// The text at once.
void printNow(const std::string& text);

// What was printed with stdio so far.
void flushOutput();

}  // namespace pallctl
