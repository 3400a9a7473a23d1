#pragma once

#include <signal.h>
#include <sys/signalfd.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>

#include "pallframe/simulation/system_call.h"

namespace pallframe::sandbox {

// Waits for one child and forwards to it the signals that ask a program to end. A chain of these
// connects the terminal and the command in the frame: a signal to the first reaches the last. While
// a supervisor lives, those signals are blocked in its process.
class Supervisor {
  public:
    // The signal at the parent's death (PR_SET_PDEATHSIG), at which the supervisor kills its child.
    static constexpr int kParentDied = SIGUSR1;

    Supervisor();
    ~Supervisor();
    Supervisor(const Supervisor&) = delete;
    Supervisor& operator=(const Supervisor&) = delete;

    // Also calls `serve` whenever the descriptor is readable.
    void serve(int descriptor, std::function<void()> serve);

    // The time that the child has after the first signal that asks it to end.
    void setKillTimeout(std::chrono::milliseconds patience) { killTimeout_ = patience; }

    // Waits for the child's end and collects all other children that end before it. Returns its
    // exit status; 128 + signal if a signal ended it, 128 + SIGKILL if its time ran out.
    int waitFor(pid_t child);

    // Forwards the signals that arrived before the child existed. The child still blocks signals,
    // so that a signal of the terminal to both processes reaches it once.
    void handOnEarlier(pid_t child);

    // Restores the signal mask of the time before the supervisor; called between fork and exec.
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
