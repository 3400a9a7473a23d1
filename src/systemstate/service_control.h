#pragma once

#include <atomic>

namespace systemstate {

class Machine;

// The editions of the frame's software, which have different commands for their services.
enum class Edition { brio, tessara };

// Whether the service is not marked as disabled by the file at `disabledMarker`.
bool isServiceEnabled(const Machine& machine, const char* disabledMarker);

// Starts and stops the frame's services. Owned by SystemState. Failures are logged and change
// nothing. Commands block the calling thread.
class ServiceControl {
  public:
    // Keeps `machine`.
    ServiceControl(Machine& machine, Edition edition);

    void setSshRunning(bool running);
    void setFtpRunning(bool running);
    // Ambrix is a server and a watch that shuts it off. Both are stopped in any case, and then
    // started when Ambrix is to run.
    void setAmbrixRunning(bool running);

    // Whether the daemon started Ambrix and has not seen it disabled since. Any thread.
    bool ambrixStarted() const { return ambrixStarted_; }

    // Stops Ambrix when the daemon started it and its marker is there now: another program has
    // disabled it for good. True when Ambrix was stopped. Poll thread.
    bool stopDisabledAmbrix();
    // Stops Ambrix; each command has a time limit of five seconds. Poll thread.
    void stopAmbrixInTime();

  private:
    Machine& machine_;
    const Edition edition_;
    // Ordered: a thread that sees the flag set also sees the value that the same set may have made.
    std::atomic<bool> ambrixStarted_{false};
};

}  // namespace systemstate
