#pragma once

namespace client {

// What the program ends with. When several names end differently, the highest counts.
enum ExitStatus : int {
    kSuccess = 0,
    kFailed = 1,       // it could not go on
    kUsage = 2,        // what was asked makes no sense; nothing was sent
    kRefused = 3,      // the device refused a value (400)
    kNotFound = 4,     // the device has no such parameter (404)
    kNoAnswer = 5,     // the device did not answer in time
    kNoBus = 6,        // there is no bus
    kOldSettings = 7,  // a change of the network did not stay: the old settings are in force
    kInDoubt = 8,      // the same, but nobody knows whether they are
    kTimedOut = 9,     // what was waited for did not come in time
};

}  // namespace client
