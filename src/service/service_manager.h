#pragma once

#include <string>
#include <string_view>

namespace pallwatch {

// Reports the state of the daemon to its service manager as sd_notify(3) describes: one datagram
// for each change, to the socket that $NOTIFY_SOCKET names. Without that variable there is no
// service manager, and every call does nothing.
//
// Any thread. No call waits, takes memory or fails: a manager that does not take a datagram misses
// it.
class ServiceManager {
  public:
    // Takes the variable out of the environment, so that no command of ours speaks in our name.
    // Call it before there is a second thread (environ(7)).
    static ServiceManager fromEnvironment();

    // `address`: an absolute path, or "@" and a name in the abstract namespace (unix(7)); empty, or
    // anything else, means no service manager.
    explicit ServiceManager(std::string address);

    bool isPresent() const { return !address_.empty(); }

    // The device is built and the event loop runs.
    void notifyReady() const { notify("READY=1"); }
    // The event loop makes progress.
    void notifyAlive() const { notify("WATCHDOG=1"); }
    // The event loop has ended and what is left to do is under way.
    void notifyStopping() const { notify("STOPPING=1"); }

  private:
    void notify(std::string_view state) const;

    std::string address_;
};

}  // namespace pallwatch
