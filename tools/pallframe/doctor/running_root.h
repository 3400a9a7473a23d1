#pragma once

#include <cstdint>
#include <string>

#include "pallframe/simulation/system_call.h"

// What the kernel reports of a root in which processes run.
namespace pallframe::doctor {

// "/proc/PID" of a process with this directory as its root: this process, or the first process of a
// simulated frame of this user. Empty without one.
std::string processIn(const simulation::Descriptor& root);

// Whether a socket that 127.0.0.1 reaches listens on the port. `table` is the text of /proc/net/tcp
// or tcp6 (proc(5)).
bool hasListener(const std::string& table, uint16_t port);

}  // namespace pallframe::doctor
