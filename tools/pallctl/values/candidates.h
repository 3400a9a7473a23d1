#pragma once

#include <string>
#include <vector>

#include "cli/completion_request.h"
#include "client/descriptor.h"
#include "client/device_path.h"

// Names and values that a shell may offer, from what a device described. Pure functions.

namespace pallctl {

// The names that begin with the word: bare ones, or those of the object ("system.ipAddress") once
// the word goes beyond its name; before that, the object itself.
std::vector<cli::Completion> completeNames(const std::vector<const client::Parameter*>& parameters,
                                           const client::DevicePath& object,
                                           const std::string& word);

// "NAME=" for the same names, and "NAME=VALUE" once there is a name: its choices, or the value that
// it has, in the form that is taken back.
std::vector<cli::Completion> completeAssignments(
    const std::vector<const client::Parameter*>& parameters, const client::DevicePath& object,
    const std::string& word);

// The values of one parameter: its choices, or the value that it has. None for null
// and for what has no value, or none that could be set as it is shown.
std::vector<cli::Completion> completeValues(const client::Parameter* parameter);

}  // namespace pallctl
