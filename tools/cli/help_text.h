#pragma once

#include <string>
#include <vector>

#include "cli/cli11.h"

namespace cli {

// The help of all programs: description, usage, and a line for each option and command, without
// blank lines and within 80 columns, so that it fits a screen.

// The positional arguments of a command, or its options.
std::vector<const CLI::Option*> listOptions(const CLI::App& app, bool positional);

// The command of that name directly below the app; null without one.
const CLI::App* findCommand(const CLI::App& app, const std::string& name);

// The word for the value of an option or a positional argument, such as "PORT", or "down|up" for
// one of a few (CLI::IsMember); "" for a flag.
std::string valueWord(const CLI::Option& option);

// The words that a CLI::IsMember allows; none without such a check.
std::vector<std::string> listChoices(const CLI::Option& option);

// The output of --help. `name` is the name of the app with the commands before it.
std::string helpText(const CLI::App& app, const std::string& name);

}  // namespace cli
