#pragma once

#include <set>
#include <string>
#include <vector>

#include "client/client.h"

// What pallctl does. Every verb prints its results on standard output and its complaints on
// standard error, and gives the status to end with. Names are taken with and without "system.".

namespace pallctl {

// The values of these parameters in their human form, one line each, in the order asked.
ExitStatus get(const Reach& reach, const std::vector<std::string>& names);

// Sets "NAME=VALUE", each with a request of its own, in order. Nothing is sent when one of them
// does not fit its parameter; a name that the device does not describe is left to its judgement.
ExitStatus set(const Reach& reach, const std::vector<std::string>& assignments);

// All parameters as a table.
ExitStatus list(const Reach& reach);

// All parameters of the catalogue that the device describes, then what else it describes, as a
// table of name, value, type and read-only. With `only`, none but those.
std::string parameterTable(const Mirror& mirror, const std::set<std::string>& only = {});

}  // namespace pallctl
