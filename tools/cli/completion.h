#pragma once

#include <string>
#include <vector>

#include "cli/cli11.h"
#include "cli/completion_request.h"

namespace cli {

// Completion for shells. Commands, options and choices come from the App that parses the line; the
// program adds only values that are not known when it is built, such as names of parameters.

// The output of `PROGRAM complete WORDS...`, whose last word is to be completed. The first line is
// the kind ("words", "files", "directories" or "commands"); each further line is a word that begins
// with it (in any case, unless one does exactly), a tab, and its description.
std::string completion(const CLI::App& app, const std::vector<std::string>& words,
                       const CompleteValue& completeValue = {});

}  // namespace cli
