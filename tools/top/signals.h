#pragma once

#include <optional>

#include "client/bus_session.h"

namespace top {

// The signals that concern a full screen, as something to read instead of something that happens:
// as long as this lives they wait for take(). Made before any thread, so that all of them leave
// these signals alone.
class Signals {
  public:
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    int descriptor() const { return descriptor_.get(); }
    // The number of the next signal that came; nothing when there is none.
    std::optional<int> take();

  private:
    FileDescriptor descriptor_;
};

// Ends this process with the signal, as it would have ended without anybody minding it.
void endBy(int signal);

}  // namespace top
