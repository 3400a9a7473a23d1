#pragma once

#include <chrono>
#include <string>

#include "cli/signal_fd.h"
#include "pallctl/network/detached_process.h"
#include "pallctl/network/network_change.h"

// A change of the network that is rolled back unless it is confirmed. A detached process makes the
// change, waits for the confirmation and otherwise rolls back; the client prints its reports and
// asks the user. So once a set is sent, a process that knows the previous settings is running,
// however the client ends.

namespace pallctl {

// The part of the detached process, on its end of the line: returns kSuccess when the settings were
// confirmed, kOldSettings or kInDoubt when not, and otherwise the status that kept it from
// starting. The end of the line and SIGTERM, which has to be blocked, count as a no.
ExitStatus commitConfirmed(int line, NetworkChange& change, std::chrono::milliseconds timeout);

// Sends a line for the user from that process.
void sendReport(int line, const std::string& text);

// The part of the client: prints the reports, asks on standard error whether to keep the settings,
// and reads the answer from standard input. The end of the input counts as a no, and so do the
// signals, which were blocked before the process was started. Returns the status of the process
// when it has ended, or kInDoubt when it was killed or the user did not wait for it.
ExitStatus askToConfirm(DetachedProcess& process, cli::SignalFD& signals,
                        std::chrono::milliseconds timeout);

}  // namespace pallctl
