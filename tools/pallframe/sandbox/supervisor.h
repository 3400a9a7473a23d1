#pragma once

#include <signal.h>
#include <sys/signalfd.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>

#include "pallframe/simulation/system_call.h"

namespace pallframe::sandbox {

// Waits for one child and hands on to it the signals that ask a program to end. A chain of these
// stands between a person's terminal and the command in the frame: what is sent to the first
// reaches the last. While one lives, those signals are blocked in its process.
class Supervisor {
  public:
    // What the parent's death sends to a child that asked for it (PR_SET_PDEATHSIG): the supervisor
    // then kills its own child.
    static constexpr int kParentDied = SIGUSR1;

    Supervisor();
    ~Supervisor();
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;

    // Also calls `serve` whenever the descriptor is readable.
    void serve(int descriptor, std::function<void()> serve);

    // From the first request to end on, the child has this long.
    void setKillTimeout(std::chrono::milliseconds patience) { killTimeout_ = patience; }

    // Waits for the child's end, collecting all other children that end meanwhile. Result: its exit
    // status, 128 + signal when a signal ended it or its time ran out.
    int waitFor(pid_t child);

    // Hands on what came before there was this child, which has not yet let signals through again:
    // what a terminal has sent to both comes to it once.
    void handOnEarlier(pid_t child);

    // Gives a child process back the signals as they were before; for between fork and exec.
    void release() const;

  private:
    using Clock = std::chrono::steady_clock;

    void wait() const;
    std::optional<signalfd_siginfo> nextSignal() const;
    void takeSignal(pid_t child);
    void handOn(int number, pid_t child);

    sigset_t before_{};
    simulation::Descriptor signals_;
    int served_ = -1;
    std::function<void()> serve_;
    std::optional<std::chrono::milliseconds> killTimeout_;
    std::optional<Clock::time_point> deadline_;
};

}  // namespace pallframe::sandbox
