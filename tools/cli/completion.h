#pragma once

#include <string>
#include <vector>

#include "cli/cli11.h"
#include "cli/completion_request.h"

namespace cli {

// What may stand in one place of a command line, for the completion of the shells. Verbs, options
// and choices are taken from the App that reads the line; only what changes while the program is
// built once (names of parameters) has to be added by the program.

// What `PROGRAM complete WORDS...` prints, where the last word is the one to be completed: in the
// first line what can stand there ("words", "files", "directories" or "commands"), then each
// possible word that begins with it (in any case, where none does exactly) and, behind a tab, what
// it is.
std::string completion(const CLI::App& app, const std::vector<std::string>& words,
                       const CompleteValue& completeValue = {});

}  // namespace cli
