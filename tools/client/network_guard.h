#pragma once

#include <chrono>
#include <functional>

#include "client/network_change.h"

// A change of the network that holds only when somebody confirms it. A guardian carries it out,
// waits for the word, and takes it back without one; the client in front of it only shows what the
// guardian says, and asks the person. So whatever ends the client, from the first set on there is
// somebody who knows the old values.

namespace pallctl {

// What the two say to each other: the sign, and behind kTell a line for the person.
namespace sign {
inline constexpr char kTell = '.';
inline constexpr char kAsk = '?';     // all is set: is it to stay?
inline constexpr char kKeep = '+';    // it is
inline constexpr char kRevert = '-';  // it is not
}  // namespace sign

// The guardian's part, on its end of the line: ends with kSuccess when the settings were confirmed,
// kOldSettings or kInDoubt when not, and with what kept it from beginning. An end of the line
// and SIGTERM, which has to be blocked, count as a no.
ExitStatus guardNetwork(int line, NetworkChange& change, std::chrono::milliseconds patience);

}  // namespace pallctl
