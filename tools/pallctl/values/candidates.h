#pragma once

#include <string>
#include <vector>

#include "cli/completion.h"
#include "client/descriptor.h"
#include "client/device_path.h"

// Completions of names and values, from what a device described. Pure functions.

namespace pallctl {

// The names that begin with the word: without the object, or with it ("system.ipAddress") once the
// word continues after the object; before that, also the object itself.
std::vector<cli::Completion> completeNames(const std::vector<const client::Parameter*>& parameters,
                                           const client::DevicePath& object,
                                           const std::string& word);

// "NAME=" for the same names, and after "=" the values of that parameter.
std::vector<cli::Completion> completeAssignments(
    const std::vector<const client::Parameter*>& parameters, const client::DevicePath& object,
    const std::string& word);

// The values of one parameter: its choices, or its value as it can be typed. None for null, without
// a value, and for a value that cannot be set as it is shown.
std::vector<cli::Completion> completeValues(const client::Parameter* parameter);

}  // namespace pallctl
