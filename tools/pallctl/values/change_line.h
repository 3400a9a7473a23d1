#pragma once

#include <chrono>
#include <string>

#include "client/descriptor.h"
#include "pallctl/values/output.h"

namespace pallctl {

// One change of a parameter as a line: time of day, name and value separated by tabs; { "time",
// "name", "value", "text" }; or time='…' name='…' value='…' for a shell. Pure.
std::string formatChange(const client::Parameter& parameter,
                         std::chrono::system_clock::time_point moment, const Style& style);

}  // namespace pallctl
