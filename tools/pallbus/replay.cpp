#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

#include "bus/misframed.h"
#include "model/log.h"
#include "program/standard_output.h"
#include "recording/lines.h"
#include "recording/recording.h"
#include "replay/comparison.h"
#include "replay/plan.h"
#include "replay/player.h"
#include "verbs.h"

namespace pallbus {

namespace {

constexpr const char* kAbout =
    "Be the bus of a recording for a device that connects: send it what it was sent\n"
    "then, and say where its answers and announcements differ from those of then.\n";
constexpr const char* kStatus =
    "Ends with 0 when there is no difference, 1 when there is, 2 when it cannot be\n"
    "told. Start the device when the first line says that the bus listens.";

// As diff(1) has it.
constexpr int kSame = 0;
constexpr int kDifferent = 1;
constexpr int kTrouble = 2;

struct Options {
    std::string file;
    std::string against = "system";
    double speed = 1;
    bool fast = false;
    std::vector<std::string> ignored;
};

std::vector<recording::Entry> entriesOf(const std::string& path) {
    recording::Reader reader(path);
    std::vector<recording::Entry> entries;
    while (std::optional<recording::Entry> entry = reader.next()) {
        entries.push_back(std::move(*entry));
    }
    if (reader.cutShort()) {
        std::fprintf(stderr, "pallbus: %s\n", reader.cutShort()->c_str());
    }
    return entries;
}

std::vector<replay::Step> planOf(const Options& options) try {
    return replay::makePlan(entriesOf(options.file), replay::parseAgainst(options.against));
} catch (const replay::NobodySpeaks& error) {
    throw std::runtime_error(options.file + ": " + error.what());
}

// With or without the object in front of them.
replay::Names namesOf(const Options& options) {
    replay::Names names;
    for (const std::string& name : options.ignored) {
        names.insert(name.substr(name.rfind('.') + 1));
    }
    return names;
}

// Gives how many messages were sent.
size_t play(const std::vector<replay::Step>& steps, replay::Comparison& comparison, uint16_t port,
            replay::Player::Speed speed) {
    asio::io_context io;
    replay::Player player(io, port, steps, comparison, speed, [&io] { io.stop(); });
    asio::signal_set stop(io, SIGINT, SIGTERM);
    bool interrupted = false;
    stop.async_wait([&](const asio::error_code&, int) {
        interrupted = true;
        io.stop();
    });
    printNow("pallbus: listening on 127.0.0.1:" + std::to_string(player.port()) + "\n");
    io.run();
    if (interrupted) {
        throw std::runtime_error("interrupted");
    }
    return player.sent();
}

void printReport(const replay::Report& report, size_t sent) {
    for (const replay::Deviation& each : report.deviations) {
        const std::string line = each.what + ": expected " + each.expected + ", got " + each.got;
        print(recording::secondsText(each.at) + " " + onOneLine(line) + "\n");
    }
    std::printf("%zu sent, %zu compared: %zu different, %zu missing, %zu extra", sent,
                report.compared, report.different, report.missing, report.extra);
    std::printf(report.lost > 0 ? ", connection lost\n" : "\n");
    flushOutput();
}

int replayFile(uint16_t port, const Options& options) {
    replaceLogSink([](int, const std::string&) {});
    lumo::replaceMisframedSink([](std::string_view) {});
    const std::vector<replay::Step> steps = planOf(options);
    replay::Comparison comparison(steps, namesOf(options));
    const size_t sent =
        play(steps, comparison, port, options.fast ? std::nullopt : std::optional(options.speed));
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
    std::fprintf(stderr, "pallbus: %s\n", onOneLine(problem).c_str());
    return kTrouble;
}

}  // namespace

void addReplay(Verb program, Call& call) {
    const auto options = std::make_shared<Options>();
    Verb verb = program.addVerb("replay", kAbout);
    verb.add("FILE", options->file, "A recording").required();
    verb.add("--against", options->against,
             "Whose part the device takes: a connection id of the recording, or who said "
             "most about an object")
        .kind("ID|OBJECT")
        .showsDefault();
    verb.add("--speed", options->speed, "So many times as fast as recorded")
        .kind("FACTOR")
        .check(numberAboveZero())
        .showsDefault();
    verb.addFlag("--fast", options->fast, "As fast as the answers come").excludes("--speed");
    verb.add("--ignore", options->ignored, "Parameters whose values may differ").kind("NAME...");
    verb.excludes({"--record", "--script", "--seed", "--trouble", "--verbose"});
    verb.notes(kStatus);
    verb.action([options, &call] {
        call.toBeDone = [options, &call] { return run(call.port, *options); };
    });
}

}  // namespace pallbus
