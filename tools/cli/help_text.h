#pragma once

#include <string>
#include <vector>

#include "cli/cli11.h"

namespace cli {

// How the programs for people explain themselves: what it is, its usage, a line for each thing that
// can be said, without blank lines and within 80 columns, so that a program's help fits a screen.

// The word for what an option or a positional takes, such as "PORT", or "down|up" when it is one of
// a few (CLI::IsMember); "" for a flag.
std::string valueWord(const CLI::Option& option);

// The words that a CLI::IsMember restricts it to; none when there is no such check.
std::vector<std::string> choicesOf(const CLI::Option& option);

// What --help prints. `name` is how the app is called, with the commands before it.
std::string helpText(const CLI::App& app, const std::string& name);

}  // namespace cli
