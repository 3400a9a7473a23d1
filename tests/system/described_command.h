#pragma once

#include <string>
#include <vector>

#include "pallframe_process.h"

namespace outside {

// A program or one of its verbs, as --help describes it.
struct Command {
    Words words;                       // how it is called: "pallframe", "set", "cable"
    std::string head;                  // itself and what stands behind it, "cable interface state"
    std::vector<std::string> options;  // "-p, --port PORT"
    std::vector<Command> verbs;

    std::string called() const;  // "pallframe set cable"
};

// The words as they are run, with the program's path in front.
Words commandLine(const Command& command, const Words& more);

// Asks the program and, one below the other, all of its verbs.
Command describedBy(const std::string& program);

// It and all below it, in the order of the help.
std::vector<Command> flattened(const Command& command);

// The command-line tools that are installed.
inline constexpr const char* kPrograms[] = {"pallctl", "pallbus", "pallframe"};

// All commands of all of them.
std::vector<Command> allCommands();

}  // namespace outside
