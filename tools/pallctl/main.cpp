// pallctl: a client of the daemon's device for people and scripts.

#include <csignal>
#include <cstdio>
#include <exception>

#include "bus/misframed.h"
#include "common_options.h"
#include "live_values.h"
#include "model/log.h"
#include "program/standard_descriptors.h"
#include "program/standard_output.h"
#include "verbs.h"

namespace {

using namespace pallctl;

constexpr const char* kAbout = "Reads, sets and watches the parameters of the frame.\n";

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

int run(int argc, char** argv) {
    holdStandardDescriptors();
    Run verb;
    CommandLine line("pallctl", kAbout);
    line.program().needsVerb();
    line.program().optionsGoAnywhere();  // what all verbs take may stand behind them
    const CommonOptions options(line.program());
    for (const AddVerb add : kVerbs) {
        add(line.program(), verb);
    }
    if (const auto status = line.read(argc, argv, liveValues)) {
        return *status;
    }
    // A reader that went away is noticed where it matters, and is no reason to die of a signal.
    std::signal(SIGPIPE, SIG_IGN);
    replaceLogSink([](int, const std::string&) {});
    lumo::replaceMisframedSink(
        [](std::string_view) { complain("bus", "dropped a frame with a wrong terminator"); });
    const ExitStatus status = verb(options.common());
    flushOutput();
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallctl: %s\n", error.what());
        return kFailed;
    }
}
