#pragma once

#include <cstdio>
#include <functional>
#include <optional>
#include <string>

namespace pallwatch {

// The options of the command line. Read once by `main`, before there is any second thread.
struct Options {
    std::string prefix;            // also serve "<prefix>.system"; empty: only "system"
    bool extendedLogging = false;  // -v; accepted and recorded, the log is always complete
    bool detached = false;         // -d; a hang-up of the terminal is none of ours any more
    bool brio = false;             // -b; accepted and recorded, the product decides the frame kind
};

// The outcome of parsing: the options, and the status to exit with when the process is to end here.
struct ParsedOptions {
    Options options;
    std::optional<int> exitStatus;  // 0 after -h, 1 after an option error or a failed detach
};

// Detaches the process from its terminal, as daemon(3): nochdir and noclose, 0 on success.
using Detach = std::function<int(int, int)>;

// Parses the arguments of `main` from left to right with getopt_long(3). An option acts when it is
// met: -h writes the usage and ends, -d calls `detach` so that the rest is parsed in the child.
// Usage and this program's own error lines go to `errors`, the parser's lines to standard error.
ParsedOptions parseOptions(int argc, char* argv[], std::FILE* errors, const Detach& detach);

}  // namespace pallwatch
