// pallbus: simulates the message bus of a frame.

#include <csignal>
#include <cstdio>

#include "pallbus/commands/commands.h"
#include "pallbus/completion.h"
#include "pallbus/faults/fault_parser.h"
#include "program/standard_descriptors.h"
#include "program/standard_output.h"
#include "program/timed_script.h"

namespace {

using namespace pallbus;

constexpr const char* kAbout =
    "Simulates the message bus of a frame on 127.0.0.1.\n"
    "Runs until it receives a signal.\n";

// In the order in which the help lists them.
constexpr void (*kCommands[])(Verb, Invocation&) = {
    addServe, addInject, addClear, addStatus, addRecord, addReplay,
};

int run(int argc, char** argv) {
    holdStandardDescriptors();
    Invocation invocation;
    CommandLine line("pallbus", kAbout);
    Verb program = line.program();
    program.takesOneVerb();
    program.optionsGoAnywhere();
    program.add("-p,--port", invocation.port, "Port of the bus; 0 listens on a free one")
        .kind("PORT")
        .check(portNumber())
        .showsDefault();
    for (const auto add : kCommands) {
        add(program, invocation);
    }
    if (const auto status = line.read(argc, argv, completeFault)) {
        return *status;
    }
    // The bus goes on when the reader of its output has gone.
    std::signal(SIGPIPE, SIG_IGN);
    const int status = invocation.run();
    flushOutput();
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const faults::FaultSyntaxError& error) {
        std::fprintf(stderr, "pallbus: %s (inject --help tells more)\n", error.what());
        return kBadUsage;
    } catch (const script::Error& errors) {
        complainOfEach("pallbus", errors.what());
        return kBadUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallbus: %s\n", error.what());
        return 1;
    }
}
