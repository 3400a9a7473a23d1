#pragma once

#include <cstddef>
#include <vector>

#include "cli/command_line.h"

// The commands of pallframe, each in the file of its name. A simulation::FrameError reports what a
// command cannot do for its user.

namespace pallframe {

// `wordsAfterDashes`: how many words of the command line follow "--".
using AddCommand = void (*)(cli::Command program, size_t wordsAfterDashes);

void addDoctor(cli::Command program, size_t wordsAfterDashes);
void addEnter(cli::Command program, size_t wordsAfterDashes);
void addList(cli::Command program, size_t wordsAfterDashes);
void addPlay(cli::Command program, size_t wordsAfterDashes);
void addRun(cli::Command program, size_t wordsAfterDashes);
void addSet(cli::Command program, size_t wordsAfterDashes);
void addStatus(cli::Command program, size_t wordsAfterDashes);

// Completes the values that only this program knows: products, running frames, arguments of `set`,
// and files of the frame that can be set aside.
std::vector<cli::Completion> completeFrameValues(const cli::CompletionRequest& request);

}  // namespace pallframe
