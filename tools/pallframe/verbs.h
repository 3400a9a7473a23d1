#pragma once

#include <string>

#include "cli/command_line.h"
#include "frame/tree.h"

// The commands of pallframe. A frame::BadRequest reports what a command cannot do for its user.
namespace pallframe {

// What the commands need to know of the whole command line.
struct Call {
    size_t commandWords = 0;  // how many words follow "--"
};

void addRun(cli::Command program, const Call& call);
void addEnter(cli::Command program, const Call& call);
void addList(cli::Command program, const Call& call);
void addSet(cli::Command program, const Call& call);
void addPlay(cli::Command program, const Call& call);
void addStatus(cli::Command program, const Call& call);
void addDoctor(cli::Command program, const Call& call);

// The frame that a command works on: a named one, the one that this program runs in, or the only
// one that runs.
struct Which {
    std::string directory;
    std::string frame;

    void addTo(cli::Command command);

    // Its files. Asked again it is the same frame, and a frame::BadRequest once that has ended.
    frame::Tree tree();
};

}  // namespace pallframe
