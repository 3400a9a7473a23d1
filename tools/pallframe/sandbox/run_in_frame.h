#pragma once

#include <string>
#include <vector>

#include "pallframe/simulation/product.h"
#include "pallframe/simulation/scenario_player.h"

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
//
// Three processes form a chain in which each dies with the one before: this one; the cleanup
// process, which stays outside the frame and removes the directory even when this one is killed;
// and process 1 of the frame, whose end makes the kernel end all others in it.
int runInFrame(const RunRequest& request);

}  // namespace pallframe::sandbox
