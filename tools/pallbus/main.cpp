// pallbus: simulates the message bus of a frame.

#include <csignal>
#include <cstdio>

#include "pallbus/commands/commands.h"
#include "pallbus/faults/fault_parser.h"

namespace {

using namespace pallbus;

constexpr const char* kAbout =
    "Simulates the message bus of a frame on 127.0.0.1.\n"
    "Runs until it receives a signal.\n";

// In the order in which the help lists them.
constexpr AddCommand kCommands[] = {
    addServe, addInject, addClear, addStatus, addRecord, addReplay,
};

int run(int argc, char** argv) {
    // The bus goes on when the reader of its output has gone.
    std::signal(SIGPIPE, SIG_IGN);
    uint16_t port = 15000;
    cli::CommandLine line("pallbus", kAbout);
    cli::Command program = line.program();
    program.allowOneCommand();
    program.allowOptionsAnywhere();
    program.add("-p,--port", port, "Port of the bus; 0 listens on a free one")
        .kind("PORT")
        .check(cli::portNumber())
        .showsDefault();
    for (const auto add : kCommands) {
        add(program, port);
    }
    try {
        return line.run(argc, argv, completeFault);
    } catch (const faults::FaultSyntaxError& error) {
        std::fprintf(stderr, "pallbus: %s (inject --help tells more)\n", error.what());
        return cli::kUsageError;
    }
}

}  // namespace

int main(int argc, char** argv) {
    return cli::runProgram("pallbus", 1, [&] { return run(argc, argv); });
}
