#pragma once

#include <cstdint>
#include <functional>

#include "program/command_line.h"

// What the program can be told to do. Each part adds its words to the command line and, when these
// are what was given, leaves what is to be done.

namespace pallbus {

struct Call {
    uint16_t port = 15000;  // of the bus, with every verb
    // Gives the exit status; may throw BadTrouble for what was asked for, and any std::exception.
    std::function<int()> toBeDone;
};

// Without a verb: to be the bus.
void addRun(Verb program, Call& call);
// "do": to have something go wrong on a bus that runs, or what goes over it kept in a file.
void addDo(Verb program, Call& call);
// "replay": to be the bus of a recording.
void addReplay(Verb program, Call& call);

}  // namespace pallbus
