#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "pallframe/sandbox/supervisor.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/system_call.h"

// The processes that a frame is made of, and how each dies with the one before.
namespace pallframe::sandbox {

// The frame could not be made or entered; told apart from every status of an ordinary command.
inline constexpr int kNoFrame = 125;

// Tells a command in a frame the frame's number, as the host has it.
inline constexpr const char* kNumberVariable = "PALLFRAME";

// Tells what was asked for in vain on standard error, a line for each problem. Result: the status
// to end with.
int reportFrameError(const simulation::FrameError& bad);

// A child whose whole life is `work`, its result the exit status; a simulation::FrameError is told,
// and all other errors become a line and kNoFrame. Throws std::system_error when there can be none.
pid_t startProcess(const std::function<int()>& work);

// The same for the child that the supervisor then waits for. It begins when all that came for this
// process before has been handed on to it.
pid_t startSupervised(Supervisor& supervisor, const std::function<int()>& work);

// A process, and this one, as another one can watch it. Throws std::system_error.
simulation::Descriptor watch(pid_t pid);
simulation::Descriptor watchSelf();

// Lets this process get the signal when its parent dies, also when that has just happened: then it
// throws std::runtime_error.
void dieWith(const simulation::Descriptor& parent, int signal);

// Where the programs lie that were built or installed with this one: beside it, and in the "sbin"
// next to that, which is the daemon's place in an installation. While the root is still the host's.
std::vector<std::filesystem::path> programDirectories();

// Has this process and its children look for programs where a frame has its own, and then in those
// directories. While the root is still the host's.
void searchAsInFrame();

// Makes this process, a child of the supervisor's, the command, with no open file but the standard
// ones. Comes back only when that fails: with the status of a shell, after a line on standard
// error.
int becomeCommand(const std::vector<std::string>& command, const Supervisor& supervisor);

}  // namespace pallframe::sandbox
