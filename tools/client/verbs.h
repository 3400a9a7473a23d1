#pragma once

#include <string>
#include <vector>

#include "client/client.h"
#include "client/output.h"

// What pallctl does. Every verb prints its results on standard output in the style asked for, its
// complaints on standard error, and gives the status to end with. Names are taken with and without
// the object before them.

namespace pallctl {

// The values of these parameters, one line each, in the order asked; or as a listing() of them for
// programs.
ExitStatus get(const Reach& reach, const Style& style, const std::vector<std::string>& names);

// Sets "NAME=VALUE", each with a request of its own, in order. Nothing is sent when one of them
// does not fit its parameter; a name that the device does not describe is left to its judgement.
ExitStatus set(const Reach& reach, const std::vector<std::string>& assignments);

// All parameters: those of the catalogue that the device describes, then what else it describes.
ExitStatus list(const Reach& reach, const Style& style);

}  // namespace pallctl
