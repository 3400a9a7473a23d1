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

// The full-screen view, until the person quits it or its terminal goes. A signal that ends it ends
// the process, with the terminal left as it was. kFailed, after a complaint on standard error, when
// a recording is not whole. Throws cli::UsageError when there is no terminal to draw on or no such
// file to play, and std::runtime_error, "PATH: reason", when the one to record to cannot be made.
ExitStatus run(const Options& options);

}  // namespace pallctl::top
