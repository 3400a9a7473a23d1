// pallctl: a client of the daemon's device for people and scripts.

#include <csignal>

#include "pallctl/commands/commands.h"
#include "pallctl/completion.h"
#include "util/log.h"

namespace {

using namespace pallctl;

constexpr const char* kAbout = "Reads, sets and watches the parameters of the frame.\n";

// In the order in which the help lists them.
// clang-format off
constexpr AddCommand kCommands[] = {
    addGet,
    addSet,
    addList,
    addDescribe,
    addWatch,
    addWait,
    addCheck,
    addMonitor,
    addNetwork,
    addExport,
    addImport,
    addTop,
    addVersion,
};
// clang-format on

int run(int argc, char** argv) {
    // A write to a reader that has gone fails, and does not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    // The ids of requests are made by the daemon's code, which logs how it reads the address of the
    // network card.
    util::replaceLogSink([](int, const std::string&) {});
    cli::CommandLine line("pallctl", kAbout);
    line.program().requireCommand();
    line.program().allowOptionsAnywhere();
    const Options options(line.program());
    for (const AddCommand add : kCommands) {
        add(line.program(), options);
    }
    return line.run(argc, argv, completeFromDevice);
}

}  // namespace

int main(int argc, char** argv) {
    return cli::runProgram("pallctl", kFailed, [&] { return run(argc, argv); });
}
