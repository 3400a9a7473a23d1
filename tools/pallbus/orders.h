#pragma once

#include <string>
#include <vector>

#include "recorder.h"
#include "switchboard/control.h"
#include "switchboard/disturber.h"
#include "trouble/plan.h"

namespace pallbus {

// The lines of a script, from a file or from whatever else can be read to an end, such as a pipe.
// Throws std::runtime_error.
std::string readScript(const std::string& path);

// One plan for each line of the command line and one for the script file, if it is not "". Throws
// BadTrouble, script::Error, and std::runtime_error when the file cannot be read.
std::vector<std::vector<Step>> plansOf(const std::vector<std::string>& lines,
                                       const std::string& script);

// How a running bus is told to play a script, the text of a file.
std::string scriptOrder(const std::string& script);

// How a running bus is told to record to the file that goes with it, of that name, and to end that.
std::string recordOrder(const std::string& path);
inline constexpr const char* kEndRecording = "end recording";

// What somebody told the running bus: one of these, a line of trouble, "calm" or "show". Answers at
// once, but for the end of a recording: when all of it is in the file.
void carryOut(Instruction instruction, Disturber& disturber, Recorder& recorder,
              const ControlSocket::Answer& answer);

}  // namespace pallbus
