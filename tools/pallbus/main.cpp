// pallbus: a stand-in for the message bus of a frame.

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <system_error>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "model/log.h"
#include "program/command_line.h"
#include "switchboard/bus_server.h"

namespace {

constexpr const char* kAbout =
    "A stand-in for the message bus of a frame, on 127.0.0.1. Ends with a signal.\n";

constexpr const char* kChoices =
    "What the bus of a real frame does is not written down. This one chooses:\n"
    "  - Logins, subscribe lists and heartbeats (a SET of no object) are answered\n"
    "    with 200, with 400 when they hold no \"connID\", no list or no \"path\".\n"
    "  - A path stands for the object of that name and all below it, element by\n"
    "    element; the empty path for every object. Lists add up.\n"
    "  - Requests and NOT go to every subscriber of their object, byte for byte, but\n"
    "    never back to the client that sent them.\n"
    "  - RSP goes to the client whose connection id is its destination; of several\n"
    "    with that id to the one that logged in last. NOT subscribers do not see it,\n"
    "    those with \"receiveAll\" do.\n"
    "  - A request of an object that nobody subscribed gets no answer.\n"
    "  - kelMasterSystemDetails is answered with a made-up pair, primary active, at\n"
    "    once when \"system\" has no subscriber but the one who asks, otherwise when\n"
    "    none of them answered in 200 ms.\n"
    "  - A client that leaves 32 MiB unread is disconnected.";

struct Options {
    uint16_t port = 15000;
    bool verbose = false;
};

void describe(CLI::App& app, Options& options) {
    app.add_option("-p,--port", options.port, "Port to listen on; 0 takes a free one")
        ->type_name("PORT")
        ->capture_default_str();
    app.add_flag("-v,--verbose", options.verbose, "Say on standard error who comes and goes");
    app.footer(kChoices);
    finishCommandLine(app);
}

int serve(const Options& options) {
    const auto report = [verbose = options.verbose](const std::string& line) {
        if (verbose) {
            std::fprintf(stderr, "pallbus: %s\n", line.c_str());
        }
    };
    // What the bus library has to say about bad messages is not for the system log of the machine,
    // and the server reports them itself.
    replaceLogSink([](int, const std::string&) {});

    asio::io_context io;
    pallbus::BusServer server(io, options.port, report);
    std::printf("pallbus: listening on 127.0.0.1:%u\n", server.port());
    std::fflush(stdout);

    asio::signal_set stop(io, SIGINT, SIGTERM);
    stop.async_wait([&io](const asio::error_code&, int) { io.stop(); });
    io.run();
    return 0;
}

int run(int argc, char** argv) {
    Options options;
    CLI::App app(kAbout, "pallbus");
    describe(app, options);
    if (const auto status = readCommandLine(app, argc, argv)) {
        return *status;
    }
    try {
        return serve(options);
    } catch (const std::system_error& error) {
        throw std::runtime_error("port " + std::to_string(options.port) + ": " +
                                 error.code().message());
    }
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallbus: %s\n", error.what());
        return 1;
    }
}
