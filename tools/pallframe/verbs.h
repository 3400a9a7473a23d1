#pragma once

#include <string>

#include "frame/tree.h"
#include "program/command_line.h"

// The verbs of the command line: each call adds one, which does its work while the line is read.
// What a verb cannot do for the person who asked is a frame::BadRequest.
namespace pallframe {

// What the verbs know of the whole command line and leave to it.
struct Call {
    size_t commandWords = 0;  // how many words stand behind "--"
    int status = 0;           // to end with
};

void addRun(Verb program, Call& call);
void addEnter(Verb program, Call& call);
void addList(Verb program, Call& call);
void addSet(Verb program, Call& call);
void addPlay(Verb program, Call& call);
void addStatus(Verb program, Call& call);
void addDoctor(Verb program, Call& call);

// The frame that a verb speaks of: a named one, the one that this program runs in, or the only one
// that runs.
struct Which {
    std::string directory;
    std::string frame;

    void addTo(Verb verb);

    // Its files. Asked again it is the same frame, and a frame::BadRequest once that has ended.
    frame::Tree tree();
};

}  // namespace pallframe
