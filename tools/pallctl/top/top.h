#pragma once

#include <string>

#include "client/client.h"
#include "pallctl/values/output.h"

namespace pallctl::top {

struct Options {
    client::ConnectionOptions connection;
    std::string record;  // the file to record to from the beginning; empty: none
    std::string play;    // the recording to show instead of a device; empty: none
};

// Runs the full-screen view until the user quits it or its terminal goes. A signal ends the process
// after the terminal is restored. Returns kFailed, after an error message, when a recording is
// incomplete. Throws cli::UsageError without a suitable terminal or for an invalid file to play,
// and std::runtime_error, "PATH: reason", when the file to record to cannot be created.
ExitStatus run(const Options& options);

}  // namespace pallctl::top
