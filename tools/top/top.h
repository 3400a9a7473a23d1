#pragma once

#include <string>

#include "client/client.h"

namespace top {

struct Options {
    pallctl::Reach reach;
    std::string record;  // the file to record to from the beginning; empty: none
    std::string play;    // the recording to show instead of a device; empty: none
};

// The full-screen view, until the person quits it or its terminal goes. A signal that ends it ends
// the process, with the terminal left as it was. Throws std::runtime_error with the reason when
// there is no terminal to draw on or no such file.
void run(const Options& options);

}  // namespace top
