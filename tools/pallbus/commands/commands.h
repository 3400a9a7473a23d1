#pragma once

#include <cstdint>
#include <vector>

#include "cli/command_line.h"

// The commands of pallbus, each in the file of its name. An add function describes the command and
// its work to the command line. `port` is the port of the bus, which is known when the work runs.
// The work may throw faults::FaultSyntaxError, cli::script::Error and any std::exception.

namespace pallbus {

using AddCommand = void (*)(cli::Command program, const uint16_t& port);

void addServe(cli::Command program, const uint16_t& port);  // without a command: be the bus
void addInject(cli::Command program, const uint16_t& port);
void addClear(cli::Command program, const uint16_t& port);
void addStatus(cli::Command program, const uint16_t& port);
void addRecord(cli::Command program, const uint16_t& port);
void addReplay(cli::Command program, const uint16_t& port);

// A command for a running bus, which does not go together with the options of the bus itself.
cli::Command addBusCommand(cli::Command program, const char* name, const char* about);

// Completes faults: word by word, or as one word in quotes.
std::vector<cli::Completion> completeFault(const cli::CompletionRequest& request);

}  // namespace pallbus
