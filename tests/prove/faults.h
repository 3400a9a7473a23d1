#pragma once

#include <string>

#include "share.h"
#include "tally.h"

namespace prove {

// Every call and every allocation of loading and of saving fails once, in every way its manual
// knows; then the daemon is killed and the next start has to find the settings from before or those
// that were sent. Only the cases of this share.
void proveFaults(const std::string& program, const Share& share, Tally& tally);

}  // namespace prove
