#pragma once

#include <string>

#include "share.h"
#include "tally.h"

namespace prove {

// The power is cut at each moment of a save of the state file and of network.conf, and after it:
// the daemon is started on every directory that may be left and has to find the settings from
// before or those that were sent, after the save only those. Only the directories of this share.
void provePowerCuts(const std::string& program, const Share& share, Tally& tally);

}  // namespace prove
