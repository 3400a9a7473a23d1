#pragma once

#include <cstdint>
#include <functional>

#include "program/command_line.h"

// What the program can be told to do. Each part adds its words to the command line and, when these
// are what was given, leaves what is to be done.

namespace pallbus {

struct CommandLine {
    uint16_t port = 15000;  // of the bus, with every verb
    // Gives the exit status; may throw BadTrouble for what was asked for, and any std::exception.
    std::function<int()> toBeDone;
};

// Without a verb: to be the bus.
void addRun(CLI::App& app, CommandLine& line);
// "do": to have something go wrong on a bus that runs.
void addDo(CLI::App& app, CommandLine& line);
// "replay": to be the bus of a recording.
void addReplay(CLI::App& app, CommandLine& line);

}  // namespace pallbus
