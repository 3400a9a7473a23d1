#pragma once

#include <string>
#include <vector>

#include "process.h"

namespace harness {

// What a program left behind.
struct Result {
    int status = 0;  // as a shell has it, 128 + signal when a signal ended it
    std::string output;
    std::string error;
};

// Runs a program to its end: words[0] is searched like a shell does. Throws std::system_error, and
// TimedOut when it does not end.
inline Result run(const std::vector<std::string>& words) {
    Process process(words);
    const int status = process.waitForEnd();
    return {status, process.output().waitForEnd(), process.error().waitForEnd()};
}

}  // namespace harness
