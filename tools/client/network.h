#pragma once

#include <chrono>
#include <optional>

#include "client/client.h"
#include "client/network_plan.h"

namespace pallctl {

struct NetworkRequest {
    NetworkSettings wish;  // 0: stays as it is
    bool force = false;    // also settings that could hardly be reached
    std::optional<std::chrono::milliseconds> confirmWithin;
};

// Changes the settings of the frame's network that differ from the wish, and prints which. When one
// of them is not taken, those before it are set back; with `confirmWithin` all of them, unless
// somebody types "yes" in time. kSuccess when the settings are as wished, kOldSettings or kInDoubt
// when they were not to stay or not taken as a whole; every other status means that nothing has
// changed. Blocks signals, so nothing but the end of the process may follow.
ExitStatus changeNetwork(const Reach& reach, const NetworkRequest& request);

}  // namespace pallctl
