#pragma once

#include <string>
#include <vector>

#include "switchboard/control.h"
#include "switchboard/disturber.h"
#include "trouble/plan.h"

namespace pallbus {

// One plan for each line of the command line and one for the script file, if it is not "". Throws
// BadTrouble, script::Error, and std::runtime_error when the file cannot be read.
std::vector<std::vector<Step>> plansOf(const std::vector<std::string>& lines,
                                       const std::string& script);

// How a running bus is told to play a script, the text of a file.
std::string scriptOrder(const std::string& script);

// What somebody told the running bus: a line of trouble, "calm", "show" or a scriptOrder.
Reply carryOut(const std::string& order, Disturber& disturber);

}  // namespace pallbus
