#pragma once

#include <string>

#include "cli/cli11.h"

namespace cli {

// The innermost command that the parser reached before the error.
const CLI::App& findReachedCommand(const CLI::App& program);

// Describes an error that the parser found in a command line: names the word or the argument, and
// suggests what was probably meant. May contain any characters of the line. Pure function.
std::string describeUsageError(const CLI::App& program, const CLI::Error& error);

// "unknown command 'lst'; did you mean 'list'?", with the commands of this one.
std::string describeUnknownCommand(const CLI::App& command, const std::string& word);

}  // namespace cli
