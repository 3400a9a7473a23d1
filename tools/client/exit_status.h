#pragma once

namespace client {

// The exit status of a program. Of several names with different outcomes the highest counts.
enum ExitStatus : int {
    kSuccess = 0,
    kFailed = 1,       // the program could not continue
    kUsage = 2,        // invalid request; nothing was sent
    kRefused = 3,      // the device refused a value (400)
    kNotFound = 4,     // the device has no such parameter (404)
    kNoAnswer = 5,     // the device did not answer in time
    kNoBus = 6,        // no bus to connect to
    kOldSettings = 7,  // a network change was rolled back
    kInDoubt = 8,      // a network change failed; the settings are unknown
    kTimedOut = 9,     // the awaited value did not appear in time
};

}  // namespace client
