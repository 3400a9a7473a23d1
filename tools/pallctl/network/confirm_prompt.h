#pragma once

#include <chrono>
#include <string>

#include "cli/signal_fd.h"
#include "client/bus_session.h"
#include "client/exit_status.h"
#include "pallctl/network/detached_process.h"
#include "pallctl/values/output.h"

namespace pallctl {

// The user's side of a change that has to be confirmed: prints the reports of the process, asks on
// standard error whether to keep the settings, and reads the answer from standard input. A signal
// to end and the end of the input are a no. Used by one thread, the only one.
class ConfirmPrompt {
  public:
    // The signals mean no; they were blocked before the process was started, and outlive this.
    ConfirmPrompt(DetachedProcess& process, cli::SignalFD& signals,
                  std::chrono::milliseconds timeout);

    // Runs until the process has ended. Returns its status, or kInDoubt when it was killed or the
    // user did not wait for it.
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
    std::chrono::milliseconds timeout_;
    cli::SignalFD& signals_;
    bool asking_ = false;      // while a question is open
    bool promptOpen_ = false;  // the line is not ended yet
    bool reverting_ = false;
    bool ended_ = false;
    bool leaving_ = false;
    client::Deadline deadline_;
    std::string typed_;
};

}  // namespace pallctl
