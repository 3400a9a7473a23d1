#pragma once

#include <chrono>
#include <functional>

#include "pallctl/network/network_change.h"

// A change of the network that is rolled back unless it is confirmed. A detached process makes the
// change, waits for the confirmation and otherwise rolls back; the client prints its reports and
// asks the user. So once a set is sent, a process that knows the previous settings is running,
// whatever ends the client.

namespace pallctl {

// The messages between the two: a sign, and after kReport a line for the user.
namespace sign {
inline constexpr char kReport = '.';
inline constexpr char kAsk = '?';     // everything is set: keep it?
inline constexpr char kKeep = '+';    // the answer is yes
inline constexpr char kRevert = '-';  // the answer is no
}  // namespace sign

// The part of the detached process, on its end of the line: returns kSuccess when the settings were
// confirmed, kOldSettings or kInDoubt when not, and otherwise the status that kept it from
// starting. The end of the line and SIGTERM, which has to be blocked, count as a no.
ExitStatus commitConfirmed(int line, NetworkChange& change, std::chrono::milliseconds timeout);

}  // namespace pallctl
