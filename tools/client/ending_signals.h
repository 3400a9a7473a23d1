#pragma once

#include "client/bus_session.h"

namespace pallctl {

// The signals that ask a process to end, taken as news instead: from construction on, and in what
// it starts, they are blocked. Owned by whoever waits; one thread.
class EndingSignals {
  public:
    EndingSignals();

    // Readable once one came.
    int descriptor() const { return descriptor_.get(); }
    // The number of the next one, 0 when there is none.
    int take();

  private:
    FileDescriptor descriptor_;
};

}  // namespace pallctl
