#pragma once

#include "bus/timer.h"

class SystemState;

namespace pallwatch {

// Keeps the state file at what the device holds. A save that failed is tried again every second
// until it worked; the log says when that begins and when it is over. Owned by the service, main
// thread.
class StateSaver {
  public:
    // Keeps `systemState`.
    StateSaver(asio::io_service& io, SystemState& systemState);

    // Something that the file keeps has changed; the next save() writes it.
    void noteChange() { changed_ = true; }
    // Writes the file when something has changed since it was written last.
    void save();
    // Goes on with what the start could not write.
    void followUp();
    // The last try for what could not be saved yet; a failure is logged.
    void finish();

  private:
    void retry();

    SystemState& systemState_;
    lumo::Timer retryTimer_;
    bool changed_ = false;
    bool failing_ = false;
};

}  // namespace pallwatch
