#pragma once

#include <string>

#include "share.h"
#include "tally.h"

namespace prove {

// Kills the daemon at random moments of a storm of sets, of a saved parameter and of an address by
// turns. After each kill both files are whole, and the next start has for each of the two a value
// that was sent, and none from before the last one that was acknowledged. Only the kills of this
// share, out of so many.
void proveKills(const std::string& program, size_t kills, const Share& share, Tally& tally);

}  // namespace prove
