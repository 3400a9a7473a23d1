#pragma once

#include <chrono>
#include <string>

#include "client/descriptor.h"
#include "pallctl/values/output.h"

namespace pallctl {

// One change of a parameter on one line, whatever it holds, with its line end: time of day, name
// and value with tabs between them; { "time", "name", "value", "text" }; or time='…' name='…'
// value='…' for a shell. Pure.
std::string formatChange(const client::Parameter& parameter,
                         std::chrono::system_clock::time_point moment, const Style& style);

}  // namespace pallctl
