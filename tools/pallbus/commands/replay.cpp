// Reads the whole recording, plans the steps of one participant, replays them to the device that
// connects, and prints the differences. The exit status is that of diff(1).

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "cli/standard_output.h"
#include "pallbus/commands/commands.h"
#include "pallbus/replay/comparison.h"
#include "pallbus/replay/replay_plan.h"
#include "pallbus/replay/replayer.h"
#include "recording/line_format.h"
#include "recording/recording.h"

namespace pallbus {

namespace {

constexpr const char* kStatus =
    "Sends the device what it was sent in the recording. Start the device when the\n"
    "first line of output reports the port. Exits with 0 when there is no difference,\n"
    "1 when there is one, 2 when the replay failed.";

// As diff(1) has it.
constexpr int kSame = 0;
constexpr int kDifferent = 1;
constexpr int kFailed = 2;

struct Options {
    std::string file;
    std::string participant = "system";
    double speed = 1;
    bool fast = false;
    std::vector<std::string> ignored;
};

std::vector<recording::Entry> readEntries(const std::string& path) {
    recording::Reader reader(path);
    std::vector<recording::Entry> entries;
    while (std::optional<recording::Entry> entry = reader.next()) {
        entries.push_back(std::move(*entry));
    }
    if (reader.truncation()) {
        std::fprintf(stderr, "pallbus: %s\n", reader.truncation()->c_str());
    }
    return entries;
}

std::vector<replay::Step> makePlan(const Options& options) try {
    return replay::planReplay(readEntries(options.file),
                              replay::parseParticipant(options.participant));
} catch (const replay::ParticipantNotFound& error) {
    throw std::runtime_error(options.file + ": " + error.what());
}

// A name may be given with or without its object.
replay::IgnoredNames parseIgnored(const Options& options) {
    replay::IgnoredNames names;
    for (const std::string& name : options.ignored) {
        names.insert(name.substr(name.rfind('.') + 1));
    }
    return names;
}

// Returns how many messages were sent.
size_t runReplay(const std::vector<replay::Step>& steps, replay::Comparison& comparison,
                 uint16_t port, replay::Replayer::Speed speed) {
    asio::io_context io;
    replay::Replayer replayer(io, port, steps, comparison, speed, [&io] { io.stop(); });
    asio::signal_set stop(io, SIGINT, SIGTERM);
    bool interrupted = false;
    stop.async_wait([&](const asio::error_code&, int) {
        interrupted = true;
        io.stop();
    });
    cli::printNow("pallbus: listening on 127.0.0.1:" + std::to_string(replayer.port()) + "\n");
    io.run();
    if (interrupted) {
        throw std::runtime_error("interrupted");
    }
    return replayer.sent();
}

void printReport(const replay::Report& report, size_t sent) {
    for (const replay::Deviation& each : report.deviations) {
        const std::string line = each.what + ": expected " + each.expected + ", got " + each.got;
        cli::print(recording::secondsText(each.at) + " " + cli::onOneLine(line) + "\n");
    }
    std::printf("%zu sent, %zu compared: %zu different, %zu missing, %zu extra", sent,
                report.compared, report.different, report.missing, report.extra);
    std::printf(report.disconnects > 0 ? ", connection lost\n" : "\n");
    cli::flushOutput();
}

int replayFile(uint16_t port, const Options& options) {
    const std::vector<replay::Step> steps = makePlan(options);
    replay::Comparison comparison(steps, parseIgnored(options));
    const size_t sent = runReplay(steps, comparison, port,
                                  options.fast ? std::nullopt : std::optional(options.speed));
    const replay::Report report = comparison.report();
    printReport(report, sent);
    return report.deviations.empty() ? kSame : kDifferent;
}

int run(uint16_t port, const Options& options) {
    std::string problem;
    try {
        return replayFile(port, options);
    } catch (const std::system_error& error) {
        problem = "port " + std::to_string(port) + ": " + error.code().message();
    } catch (const std::exception& error) {
        problem = error.what();
    }
    std::fprintf(stderr, "pallbus: %s\n", cli::onOneLine(problem).c_str());
    return kFailed;
}

}  // namespace

void addReplay(cli::Command program, const uint16_t& port) {
    const auto options = std::make_shared<Options>();
    cli::Command command =
        addBusCommand(program, "replay", "Replay a recording to a device and compare its messages");
    command.add("FILE", options->file, "A recording").required();
    command
        .add("--as", options->participant,
             "The participant that the device replaces: a connection id of the recording, or the "
             "client with the most messages of an object")
        .kind("ID|OBJECT")
        .showsDefault();
    command.add("--speed", options->speed, "Factor to the recorded speed")
        .kind("FACTOR")
        .check(cli::numberAboveZero())
        .showsDefault();
    command.addFlag("--fast", options->fast, "As fast as the responses come").excludes("--speed");
    command.add("--ignore", options->ignored, "Parameters whose values may differ").kind("NAME...");
    command.notes(kStatus);
    command.work([options, &port] { return run(port, *options); });
}

}  // namespace pallbus
