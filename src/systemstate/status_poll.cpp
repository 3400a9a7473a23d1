#include "systemstate/status_poll.h"

StatusPoll::StatusPoll(SystemState& state, Machine& machine) : state_(state), machine_(machine) {}

void StatusPoll::tick() {
    static_cast<void>(state_);
    static_cast<void>(machine_);
}
