#pragma once

#include <cstdint>
#include <string>

#include "pallframe/simulation/system_call.h"

// What the kernel tells of a root that something runs in.
namespace pallframe::doctor {

// "/proc/PID" of a process that has this directory as its root: of this one, or of the first one
// of a simulated frame of this user. Empty when there is none.
std::string processIn(const simulation::Descriptor& root);

// Whether somebody listens to that port where 127.0.0.1 reaches it, by the text of a network's
// table of sockets: /proc/net/tcp or tcp6 (proc(5)).
bool hasListener(const std::string& table, uint16_t port);

}  // namespace pallframe::doctor
