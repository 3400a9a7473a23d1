#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "pallframe/sandbox/supervisor.h"
#include "pallframe/simulation/system_call.h"

// The processes that a frame is made of, and how each dies with the one before.
namespace pallframe::sandbox {

// The exit status when the frame could not be created or entered; ordinary commands do not use it.
inline constexpr int kNoFrame = 125;

// The environment variable with the frame's number on the host.
inline constexpr const char* kNumberVariable = "PALLFRAME";

// Forks a child that does `work` and exits with its result, or reports an exception and exits as
// cli::runProgram does, with kNoFrame for a failure. Throws std::system_error when the fork fails.
pid_t startProcess(const std::function<int()>& work);

// The same for the child that the supervisor then waits for. The child begins its work when it has
// been sent all signals that this process received before.
pid_t startSupervised(Supervisor& supervisor, const std::function<int()>& work);

// A descriptor by which another process can watch a process, or this one. Throws std::system_error.
simulation::Descriptor watch(pid_t pid);
simulation::Descriptor watchSelf();

// Sends this process the signal when its parent dies. Throws std::runtime_error when the parent has
// died already.
void dieWith(const simulation::Descriptor& parent, int signal);

// The directories of the programs that were built or installed with this one: its own, and the
// "sbin" next to it, where an installation has the daemon. Called before the root changes.
std::vector<std::filesystem::path> programDirectories();

// Sets the search path of this process and its children to that of a frame, then those directories.
// Called before the root changes.
void searchAsInFrame();

// Replaces this process, a child of the supervisor, by the command, with only the standard
// descriptors open. Returns only on failure: the status of a shell, after a line on standard error.
int becomeCommand(const std::vector<std::string>& command, const Supervisor& supervisor);

}  // namespace pallframe::sandbox
