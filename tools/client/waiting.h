#pragma once

#include <string>

#include "client/client.h"
#include "client/output.h"

namespace pallctl {

// Goes on until the parameter in "NAME=VALUE" is seen to have that value: at once when it has, or
// when it is announced, or after bus or daemon were away. Values are compared as their type has
// them or as people read them, so that 5 is 5.0 and "enabled" is 1. reach.wait is for bus and
// daemon to appear, reach.timeout for all of it from then on; kTimeOver when that has passed,
// kFailed when standard output loses its reader before. For people nothing is printed; for
// programs, unless their reader has gone, the parameter as in a listing() and its "outcome":
// "reached", "timeOver", "unfit", "notFound", "noAnswer" or "noBus".
ExitStatus waitFor(const Reach& reach, const Style& style, const std::string& assignment);

}  // namespace pallctl
