#pragma once

#include <chrono>
#include <string>

#include "cli/signal_fd.h"
#include "client/bus_session.h"
#include "client/exit_status.h"
#include "pallctl/network/detached_process.h"
#include "pallctl/values/output.h"

namespace pallctl {

// The part of a guarded change that a person sees: shows what the process says, asks on standard
// error whether the settings are to stay, and reads the answer from standard input. Anything that
// speaks of a person who has gone (a signal to end, the end of the input) is a no. Used by one
// thread, the only one.
class ConfirmPrompt {
  public:
    // The signals mean no; they are older than the process, and outlive this.
    ConfirmPrompt(DetachedProcess& process, cli::SignalFD& signals,
                  std::chrono::milliseconds patience);

    // Until the process has ended: its status, or kInDoubt when it did not end by itself or
    // the person did not wait for it.
    ExitStatus run();

  private:
    void waitForNews();
    void readProcess();
    void readSignal();
    void readUserInput();
    void take(const std::string& answer);
    void ask();
    void endPrompt();
    void say(const std::string& text);
    void revert();

    DetachedProcess& process_;
    std::chrono::milliseconds patience_;
    cli::SignalFD& signals_;
    bool asking_ = false;      // for as long as there is something to answer
    bool promptOpen_ = false;  // the line has no end yet
    bool reverting_ = false;
    bool ended_ = false;
    bool leaving_ = false;
    client::Deadline deadline_;
    std::string typed_;
};

}  // namespace pallctl
