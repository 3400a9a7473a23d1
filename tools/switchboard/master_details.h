#pragma once

#include "bus/tarn_internal_message.h"

// The redundant pair of the frame that the stand-in plays.

namespace pallbus {

// True for a GET on "system" that names "kelMasterSystemDetails".
bool asksForMasterDetails(const TarnInternalMessage& message);

// {"kelMasterSystemDetails": ...}: both controllers present, the primary active.
UniqueJSON masterDetailsParam();

}  // namespace pallbus
