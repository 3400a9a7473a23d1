// pallctl: a client of the daemon's device for people and scripts.

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "client/verbs.h"
#include "client/watch.h"
#include "model/log.h"
#include "program/command_line.h"

namespace {

using pallctl::ExitStatus;

constexpr const char* kAbout = "Reads, sets and watches the parameters of the frame.\n";

constexpr const char* kNotes =
    "Values are shown and taken in human form: dotted addresses, names of choices.\n"
    "Names may leave out \"system.\". The client logs in with connection id 1000000\n"
    "plus its process id.\n"
    "Ends with 0, 2 bad usage, 3 value refused, 4 no such parameter, 5 no answer,\n"
    "6 no bus; of several the highest.";

constexpr double kLongestSeconds = 86400;

struct Options {
    uint16_t port = 15000;
    double timeout = 0;
    double wait = 0;
    std::vector<std::string> words;
    bool table = false;
    std::function<ExitStatus(const pallctl::Reach&)> run;
};

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

pallctl::Reach reachOf(const Options& options) {
    pallctl::Reach reach;
    reach.port = options.port;
    reach.wait = milliseconds(options.wait);
    if (options.timeout > 0) {
        reach.timeout = milliseconds(options.timeout);
    }
    return reach;
}

void describeReach(CLI::App& app, Options& options) {
    app.add_option("-p,--port", options.port, "Port of the bus on 127.0.0.1")
        ->type_name("PORT")
        ->capture_default_str();
    app.add_option("-t,--timeout", options.timeout, "Longest wait for an answer: else 2, set 60")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, kLongestSeconds));
    app.add_option("-w,--wait", options.wait, "Give bus and daemon so long to appear")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, kLongestSeconds));
}

void describeVerbs(CLI::App& app, Options& options) {
    CLI::App* get = app.add_subcommand("get", "Print values, one line each");
    get->add_option("NAME", options.words)->required();
    get->callback([&] {
        options.run = [&](const auto& reach) { return pallctl::get(reach, options.words); };
    });
    CLI::App* set = app.add_subcommand("set", "Set values, one after the other");
    set->add_option("NAME=VALUE", options.words)->required();
    set->callback([&] {
        options.run = [&](const auto& reach) { return pallctl::set(reach, options.words); };
    });
    CLI::App* list = app.add_subcommand("list", "Print all parameters as a table");
    list->callback([&] { options.run = pallctl::list; });
    CLI::App* watch = app.add_subcommand("watch", "Print each change as it happens");
    watch->add_option("NAME", options.words, "Show only these");
    watch->add_flag("--table", options.table, "Print the table first");
    watch->callback([&] {
        options.run = [&](const auto& reach) {
            return pallctl::Watch(reach, options.words, options.table).run();
        };
    });
}

int run(int argc, char** argv) {
    Options options;
    CLI::App app(kAbout, "pallctl");
    app.require_subcommand(1);
    app.fallthrough();
    describeReach(app, options);
    describeVerbs(app, options);
    app.footer(kNotes);
    finishCommandLine(app);
    if (const auto status = readCommandLine(app, argc, argv)) {
        return *status;
    }
    // A reader that went away is noticed where it matters, and is no reason to die of a signal.
    std::signal(SIGPIPE, SIG_IGN);
    replaceLogSink([](int, const std::string&) {});
    return options.run(reachOf(options));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallctl: %s\n", error.what());
        return 1;
    }
}
