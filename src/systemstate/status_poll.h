#pragma once

class Machine;
class SystemState;

// The refresh of the live parameters, one tick a second on the poll thread.
class StatusPoll {
  public:
    // Keeps both; `state` owns the poll.
    StatusPoll(SystemState& state, Machine& machine);

    // One poll. Reads files and may run a command; never throws.
    void tick();

  private:
    SystemState& state_;
    Machine& machine_;
};
