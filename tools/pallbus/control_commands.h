#pragma once

#include <cstdint>
#include <string>

#include "pallbus/broker/control_socket.h"
#include "pallbus/broker/fault_scheduler.h"
#include "pallbus/recorder.h"

// The commands that a running bus carries out. Any other text is a fault script, which it runs.

namespace pallbus {

inline constexpr const char* kClearCommand = "clear";
inline constexpr const char* kStatusCommand = "status";
inline constexpr const char* kStopRecordingCommand = "stop recording";

// Reads a fault script (script::readFile); the text ends with a line feed, so that it is not taken
// for another command. Throws std::runtime_error.
std::string readScript(const std::string& path);

// Records to the file that is passed with the command. `path` is the name of that file.
std::string recordCommand(const std::string& path);

// Carries a command out. Answers at once, except the end of a recording: when all of it is in the
// file.
void handleControlRequest(broker::ControlRequest request, broker::FaultScheduler& faultScheduler,
                          Recorder& recorder, const broker::ControlSocket::Answer& answer);

// Sends a command to the bus on the port and returns the text of its reply. Throws
// std::runtime_error when there is no bus, or with the error that the bus replied.
std::string sendToBus(uint16_t port, const std::string& command, const util::UniqueFile& file = {});

}  // namespace pallbus
