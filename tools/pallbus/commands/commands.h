#pragma once

#include <cstdint>
#include <functional>

#include "program/command_line.h"

// The commands of pallbus, each in the file of its name. An add function describes the command to
// the command line; when the user gave the command, it leaves the work in Invocation::run.

namespace pallbus {

struct Invocation {
    uint16_t port = 15000;  // of the bus, for every command
    // Returns the exit status. May throw faults::FaultSyntaxError, script::Error and any
    // std::exception.
    std::function<int()> run;
};

void addServe(Verb program, Invocation& invocation);  // without a command: be the bus
void addInject(Verb program, Invocation& invocation);
void addClear(Verb program, Invocation& invocation);
void addStatus(Verb program, Invocation& invocation);
void addRecord(Verb program, Invocation& invocation);
void addReplay(Verb program, Invocation& invocation);

// The options of the bus itself do not go together with a command.
void excludeServeOptions(Verb command);

}  // namespace pallbus
