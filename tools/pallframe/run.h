#pragma once

#include <string>
#include <vector>

#include "frame/product.h"
#include "player.h"

namespace pallframe {

// One command to be run in a frame of its own.
struct RunRequest {
    const frame::Product* product = nullptr;
    std::string directory;  // of the frame's files, does not exist yet; empty: in memory
    bool keep = false;      // leave the directory when the command has ended
    bool syslog = true;     // collect /dev/log in the frame's /var/log/messages
    std::vector<std::string> command;
    Scenario scenario{};  // played from the command's start on
};

// Makes a frame, runs the command in it as its first process and takes it away with everything that
// runs in it. Result: the command's exit status as a shell has it, kNoFrame (process.h)
// after a line on standard error. Throws std::system_error when the directory cannot be made.
//
// Three processes stand behind it, each dying with the one before: this one; the keeper, which
// stays outside and takes the directory away even when this one is killed; and process 1 of the
// frame, whose end makes the kernel end all others in it.
int runInFrame(const RunRequest& request);

}  // namespace pallframe
