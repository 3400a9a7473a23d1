#pragma once

#include <string>
#include <vector>

#include "client/client.h"
#include "client/output.h"

// The verbs of pallctl that read and end. Every verb prints its results on standard output in the
// style asked for, its complaints on standard error, and gives the status to end with. Names are
// taken with and without the object before them.

namespace pallctl {

// The values of these parameters, one line each, in the order asked; or as a listing() of them for
// programs.
ExitStatus get(const Reach& reach, const Style& style, const std::vector<std::string>& names);

// All parameters: those of the catalogue that the device describes, then what else it describes.
ExitStatus list(const Reach& reach, const Style& style);

// The description() of these parameters, without names of all.
ExitStatus describe(const Reach& reach, const Style& style, const std::vector<std::string>& names);

// This program's version, then the version of the software and the name of the frame, as the device
// has them. kSuccess also when there is no device to ask: standard error says so.
ExitStatus version(const Reach& reach, const Style& style, const std::string& ownVersion);

}  // namespace pallctl
