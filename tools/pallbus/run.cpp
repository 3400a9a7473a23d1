#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "model/log.h"
#include "switchboard/bus_server.h"
#include "verbs.h"

namespace pallbus {

namespace {

struct Options {
    bool verbose = false;
};

void serve(uint16_t port, const Options& options) {
    const auto report = [verbose = options.verbose](const std::string& line) {
        if (verbose) {
            std::fprintf(stderr, "pallbus: %s\n", line.c_str());
        }
    };
    // What the bus library has to say about bad messages is not for the system log of the machine,
    // and the server reports them itself.
    replaceLogSink([](int, const std::string&) {});

    asio::io_context io;
    BusServer server(io, port, report);
    std::printf("pallbus: listening on 127.0.0.1:%u\n", server.port());
    std::fflush(stdout);

    asio::signal_set stop(io, SIGINT, SIGTERM);
    stop.async_wait([&io](const asio::error_code&, int) { io.stop(); });
    io.run();
}

int run(uint16_t port, const Options& options) try {
    serve(port, options);
    return 0;
} catch (const std::system_error& error) {
    throw std::runtime_error("port " + std::to_string(port) + ": " + error.code().message());
}

}  // namespace

void addRun(CLI::App& app, CommandLine& line) {
    const auto options = std::make_shared<Options>();
    app.add_flag("-v,--verbose", options->verbose, "Say on standard error who comes and goes");
    line.toBeDone = [options, &line] { return run(line.port, *options); };
}

}  // namespace pallbus
