#pragma once

#include <csignal>
#include <initializer_list>

#include "util/files.h"

namespace cli {

// The signals that ask a process to end.
inline constexpr std::initializer_list<int> kTerminationSignals = {SIGINT, SIGTERM, SIGHUP,
                                                                   SIGQUIT};

// Signals as a descriptor: from construction on they are blocked, also in threads and processes
// that are started later. Construct it before any thread. Used by one thread.
class SignalFD {
  public:
    explicit SignalFD(std::initializer_list<int> signals);

    // Readable once a signal has arrived.
    int descriptor() const { return descriptor_.get(); }
    // Returns the number of the next signal, or 0.
    int take();

  private:
    util::UniqueDescriptor descriptor_;
};

// Ends this process with the signal, which the terminal and the parent process then see.
void endBySignal(int signal);

}  // namespace cli
