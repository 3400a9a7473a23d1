// pallbus: a stand-in for the message bus of a frame.

#include <csignal>
#include <cstdio>

#include "offers.h"
#include "program/standard_descriptors.h"
#include "program/standard_output.h"
#include "program/timed_script.h"
#include "trouble/words.h"
#include "verbs.h"

namespace {

constexpr const char* kAbout =
    "A stand-in for the message bus of a frame, on 127.0.0.1. Ends with a signal.\n";

// Each adds its own words. Where none of the verbs is given, the program is the bus.
constexpr void (*kParts[])(Verb, pallbus::Call&) = {
    pallbus::addRun,
    pallbus::addDo,
    pallbus::addReplay,
};

int run(int argc, char** argv) {
    holdStandardDescriptors();
    pallbus::Call call;
    CommandLine line("pallbus", kAbout);
    Verb program = line.program();
    program.takesOneVerb();
    program.optionsGoAnywhere();
    program.add("-p,--port", call.port, "Port of the bus; 0 listens on a free one")
        .kind("PORT")
        .check(portNumber())
        .showsDefault();
    for (const auto add : kParts) {
        add(program, call);
    }
    if (const auto status = line.read(argc, argv, pallbus::offers)) {
        return *status;
    }
    // Who reads what the bus says may go; those on the bus stay.
    std::signal(SIGPIPE, SIG_IGN);
    const int status = call.toBeDone();
    flushOutput();
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const pallbus::BadTrouble& problem) {
        std::fprintf(stderr, "pallbus: %s (do --help tells more)\n", problem.what());
        return kBadUsage;
    } catch (const script::Error& problems) {
        complainOfEach("pallbus", problems.what());
        return kBadUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallbus: %s\n", error.what());
        return 1;
    }
}
