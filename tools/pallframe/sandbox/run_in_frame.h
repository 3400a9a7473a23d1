#pragma once

#include <string>
#include <vector>

#include "pallframe/simulation/product.h"
#include "pallframe/simulation/scenario.h"

namespace pallframe::sandbox {

// A command to run in a new frame.
struct RunRequest {
    const simulation::Product* product = nullptr;
    std::string directory;  // for the frame's files, must not exist yet; empty: in memory
    bool keep = false;      // do not remove the directory at the end
    bool syslog = true;     // collect /dev/log in the frame's /var/log/messages
    std::vector<std::string> command;
    simulation::Scenario scenario{};  // played from the start of the command
};

// Creates a frame, runs the command in it and removes the frame with all its processes. Returns the
// command's exit status as a shell would, or kNoFrame (frame_process.h) after an error message.
// Throws std::system_error when the directory cannot be created.
int runInFrame(const RunRequest& request);

}  // namespace pallframe::sandbox
