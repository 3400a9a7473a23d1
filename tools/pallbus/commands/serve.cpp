#include <sys/resource.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "cli/standard_output.h"
#include "cli/validators.h"
#include "pallbus/broker/control_socket.h"
#include "pallbus/broker/server.h"
#include "pallbus/commands/commands.h"
#include "pallbus/control_commands.h"
#include "pallbus/faults/fault_script.h"
#include "pallbus/recorder.h"

namespace pallbus {

namespace {

using Steps = std::vector<faults::FaultStep>;

struct Options {
    bool verbose = false;
    std::string record;  // a file; empty: none
    std::vector<std::string> faults;
    std::string script;  // a file; empty: none
    uint64_t seed = 0;
};

void printError(const std::string& line) {
    std::fprintf(stderr, "pallbus: %s\n", line.c_str());
}

// The number of clients is limited by the machine, not by the soft limit of a shell.
void raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);  // on failure the old limit stays
    }
}

uint64_t chooseSeed(const Options& options) {
    return options.seed != 0 ? options.seed : std::random_device{}();
}

// One list of steps for each --fault, and one for the script.
std::vector<Steps> parseFaults(const Options& options) {
    std::vector<Steps> lists;
    lists.reserve(options.faults.size() + 1);
    for (const std::string& line : options.faults) {
        lists.push_back(faults::parseFaultLine(line));
    }
    if (!options.script.empty()) {
        lists.push_back(faults::parseFaultScript(readScript(options.script), options.script));
    }
    return lists;
}

void connectRecorder(broker::Server& server, Recorder& recorder, const std::string& path) {
    server.setTap(
        [&recorder](int32_t from, std::string_view payload) { recorder.record(from, payload); });
    if (!path.empty()) {
        recorder.start(std::make_unique<recording::Writer>(path, "pallbus"), path);
    }
}

void runBus(uint16_t port, const Options& options) {
    const std::vector<Steps> faultLists = parseFaults(options);
    const auto report = [verbose = options.verbose](const std::string& line) {
        if (verbose) {
            printError(line);
        }
    };
    raiseDescriptorLimit();

    const uint64_t seed = chooseSeed(options);
    asio::io_context io;
    broker::Server server(io, port, seed, report);
    Recorder recorder(io, printError);
    connectRecorder(server, recorder, options.record);
    const broker::ControlSocket control(
        io, server.port(),
        [&](broker::ControlRequest request, const broker::ControlSocket::Answer& answer) {
            handleControlRequest(std::move(request), server.faultScheduler(), recorder, answer);
        });
    // Before the line below, because its reader may send a signal at once.
    asio::signal_set stop(io, SIGINT, SIGTERM);
    stop.async_wait([&io](const asio::error_code&, int) { io.stop(); });
    cli::printNow("pallbus: listening on 127.0.0.1:" + std::to_string(server.port()) +
                  "\npallbus: seed " + std::to_string(seed) + "\n");
    for (const Steps& steps : faultLists) {
        server.faultScheduler().run(steps);
    }
    io.run();
}

int serve(uint16_t port, const Options& options) try {
    runBus(port, options);
    return 0;
} catch (const std::system_error& error) {
    throw std::runtime_error("port " + std::to_string(port) + ": " + error.code().message());
}

}  // namespace

void addServe(cli::Command program, const uint16_t& port) {
    const auto options = std::make_shared<Options>();
    program.add("-f,--fault", options->faults, "Inject a fault at the start; repeatable")
        .kind("LINE")
        .oneEachTime();
    program.add("--record", options->record, "Record the messages on the bus").kind("FILE");
    program.add("-s,--script", options->script, "Inject faults at the times in a file")
        .kind("FILE")
        .check(cli::existingFile());
    program.add("--seed", options->seed, "Random seed of the faults; otherwise a new one")
        .kind("NUMBER")
        .check(cli::wholeNumber());
    program.addFlag("-v,--verbose", options->verbose, "Report connections on standard error");
    program.work([options, &port] { return serve(port, *options); });
}

cli::Command addBusCommand(cli::Command program, const char* name, const char* about) {
    cli::Command command = program.addCommand(name, about);
    command.excludes({"--fault", "--record", "--script", "--seed", "--verbose"});
    return command;
}

}  // namespace pallbus
