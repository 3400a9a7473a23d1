#pragma once

#include <chrono>
#include <string>

#include "client/bus_session.h"
#include "client/ending_signals.h"
#include "client/exit_status.h"
#include "client/guardian.h"

namespace pallctl {

// The part of a guarded change that a person sees: shows what the guardian says, asks on standard
// error whether the settings are to stay, and reads the answer from standard input. Anything that
// speaks of a person who has gone (a signal to end, the end of the input) is a no. Used by one
// thread, the only one.
class Confirmation {
  public:
    // The signals mean no; they are older than the guardian, and outlive this.
    Confirmation(Guardian& guardian, EndingSignals& signals, std::chrono::milliseconds patience);

    // Until the guardian has ended: its status, or kInDoubt when it did not end by itself or
    // the person did not wait for it.
    ExitStatus run();

  private:
    void waitForNews();
    void hearGuardian();
    void hearSignal();
    void hearPerson();
    void take(const std::string& answer);
    void ask();
    void endPrompt();
    void say(const std::string& text);
    void revert();

    Guardian& guardian_;
    std::chrono::milliseconds patience_;
    EndingSignals& signals_;
    bool asking_ = false;      // for as long as there is something to answer
    bool promptOpen_ = false;  // the line has no end yet
    bool reverting_ = false;
    bool ended_ = false;
    bool leaving_ = false;
    Deadline deadline_;
    std::string typed_;
};

}  // namespace pallctl
