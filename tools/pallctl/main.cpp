// pallctl: a client of the daemon's device for people and scripts.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>

#include "common_options.h"
#include "live_values.h"
#include "model/log.h"
#include "verbs.h"

namespace {

using namespace pallctl;

constexpr const char* kAbout = "Reads, sets and watches the parameters of the frame.\n";

constexpr int kFailure = 1;  // it could not go on

// In the order in which the help lists them.
// clang-format off
constexpr AddVerb kVerbs[] = {
    addGet,
    addSet,
    addList,
    addDescribe,
    addWatch,
    addWait,
    addMonitor,
    addNetwork,
    addTop,
    addVersion,
};
// clang-format on

// A reader that has gone had all that it wanted; anything else that kept the output from being
// written is a failure.
int written(int status) {
    if (std::fflush(stdout) == 0 || errno == EPIPE) {
        return status;
    }
    complain("standard output", std::strerror(errno));
    return kFailure;
}

int run(int argc, char** argv) {
    Run verb;
    CLI::App app(kAbout, "pallctl");
    app.require_subcommand(1);
    app.fallthrough();  // what all verbs take may stand behind them
    const CommonOptions options(app);
    for (const AddVerb add : kVerbs) {
        add(app, verb);
    }
    finishCommandLine(app);
    if (const auto status = readCommandLine(app, argc, argv, liveValues)) {
        return *status;
    }
    // A reader that went away is noticed where it matters, and is no reason to die of a signal.
    std::signal(SIGPIPE, SIG_IGN);
    replaceLogSink([](int, const std::string&) {});
    return written(verb(options.common()));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallctl: %s\n", error.what());
        return kFailure;
    }
}
