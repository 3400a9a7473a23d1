#pragma once

#include "systemstate/controller_details.h"
#include "util/json.h"

namespace pallwatch {

// The bus's picture of the redundant controller pair, as it travels under "kelMasterSystemDetails":
// {"primary": {"ipAddress", "present", "active", "version"}, "secondary": {the same four}}.

// Reads a pair. A half that is absent or no object is a controller at its defaults. Inside a half,
// texts count only as JSON strings and flags only as JSON true: the number 1 is not true.
MasterSystemDetails masterDetailsFromJSON(const cJSON* item);

// Writes a pair, members in the order above.
util::UniqueJSON masterDetailsToJSON(const MasterSystemDetails& details);

}  // namespace pallwatch
