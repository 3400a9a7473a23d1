#include <sys/resource.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "bus/misframed.h"
#include "model/log.h"
#include "orders.h"
#include "program/checks.h"
#include "program/standard_output.h"
#include "recorder.h"
#include "switchboard/bus_server.h"
#include "switchboard/control.h"
#include "verbs.h"

namespace pallbus {

namespace {

struct Options {
    bool verbose = false;
    std::string record;  // the file; empty: none
    std::vector<std::string> trouble;
    std::string script;  // a file; empty: none
    uint64_t seed = 0;
};

void complain(const std::string& line) {
    std::fprintf(stderr, "pallbus: %s\n", line.c_str());
}

// As many clients as the machine allows, not as many as a shell allows its programs.
void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);  // where that is refused, the old one does
    }
}

uint64_t seedOf(const Options& options) {
    return options.seed != 0 ? options.seed : std::random_device{}();
}

// What the bus library has to say about bad messages is not for the system log of the machine, and
// the server reports them itself.
void takeReportsOfLibrary(const BusServer::Report& report) {
    replaceLogSink([](int, const std::string&) {});
    lumo::replaceMisframedSink(
        [report](std::string_view) { report("dropped a frame with a wrong terminator"); });
}

void connect(BusServer& server, Recorder& recorder, const std::string& path) {
    server.setWitness(
        [&recorder](int32_t from, std::string_view payload) { recorder.see(from, payload); });
    if (!path.empty()) {
        recorder.begin(std::make_unique<recording::Writer>(path, "pallbus"), path);
    }
}

void serve(uint16_t port, const Options& options) {
    const std::vector<std::vector<Step>> plans = plansOf(options.trouble, options.script);
    const auto report = [verbose = options.verbose](const std::string& line) {
        if (verbose) {
            complain(line);
        }
    };
    takeReportsOfLibrary(report);
    raiseDescriptorLimit();

    const uint64_t seed = seedOf(options);
    asio::io_context io;
    BusServer server(io, port, seed, report);
    Recorder recorder(io, complain);
    connect(server, recorder, options.record);
    const ControlSocket control(
        io, server.port(), [&](Instruction instruction, const ControlSocket::Answer& answer) {
            carryOut(std::move(instruction), server.disturber(), recorder, answer);
        });
    // Who is told that the bus listens may end it at once.
    asio::signal_set stop(io, SIGINT, SIGTERM);
    stop.async_wait([&io](const asio::error_code&, int) { io.stop(); });
    printNow("pallbus: listening on 127.0.0.1:" + std::to_string(server.port()) +
             "\npallbus: seed " + std::to_string(seed) + "\n");
    for (const std::vector<Step>& plan : plans) {
        server.disturber().play(plan);
    }
    io.run();
}

int run(uint16_t port, const Options& options) try {
    serve(port, options);
    return 0;
} catch (const std::system_error& error) {
    throw std::runtime_error("port " + std::to_string(port) + ": " + error.code().message());
}

}  // namespace

void addRun(Verb program, Call& call) {
    const auto options = std::make_shared<Options>();
    program.addFlag("-v,--verbose", options->verbose, "Say on standard error who comes and goes");
    program.add("--record", options->record, "Keep what goes over the bus in a file").kind("FILE");
    program.add("-t,--trouble", options->trouble, "Trouble from the start, as with do; any number")
        .kind("LINE")
        .oneEachTime();
    program.add("-s,--script", options->script, "Trouble by the clock, from a file")
        .kind("FILE")
        .check(existingFile());
    program.add("--seed", options->seed, "Of all that is left to chance; else a new one")
        .kind("NUMBER")
        .check(wholeNumber());
    call.toBeDone = [options, &call] { return run(call.port, *options); };
}

}  // namespace pallbus
