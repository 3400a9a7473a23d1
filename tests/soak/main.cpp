// soak: a long run of the daemon under load while everything around it fails. Runs inside a
// simulated frame without a system log.

#include <cstdio>
#include <random>

#include "cli/command_line.h"
#include "cli/standard_output.h"
#include "soak_lib/soak.h"
#include "util/log.h"

namespace {

constexpr const char* kAbout =
    "Runs the daemon and the simulated bus in this frame under load, with faults on the bus and\n"
    "around the daemon, and checks every answer. Prints a table; the exit status is 1 when\n"
    "anything was lost, grew or was left behind.\n";

void describe(cli::Command program, soak::Options& options) {
    program.add("--minutes", options.minutes, "Duration of the load")
        .check(cli::numberAboveZero())
        .showsDefault();
    program.add("--rate", options.rate, "Requests per second, of all clients together")
        .check(cli::numberAboveZero())
        .showsDefault();
    program.add("--seed", options.seed, "Random seed; 0 takes a new one").showsDefault();
    program
        .add("--growth", options.growthKiB,
             "KiB of anonymous memory that the daemon may gain after the warm-up")
        .showsDefault();
    program
        .add("--idle", options.idleSeconds,
             "Without load and faults: measure the daemon's processor time for so many seconds")
        .check(cli::numberAboveZero());
    program
        .add("--clients", options.clients,
             "Clients on the bus; with several, half of the requests come from the first")
        .check(cli::wholeNumber(1, 900))
        .showsDefault();
}

int run(soak::Options options) {
    if (options.seed == 0) {
        options.seed = std::random_device{}();
    }
    if (options.idleSeconds > 0) {
        std::printf("soak: idle for %g seconds\n", options.idleSeconds);
    } else {
        std::printf("soak: %g minutes, %g requests a second, seed %llu\n", options.minutes,
                    options.rate, static_cast<unsigned long long>(options.seed));
    }
    std::fflush(stdout);
    // The code that the soak shares with the daemon must not log beside it.
    util::replaceLogSink([](int, const std::string&) {});
    soak::Soak soak(options);
    const soak::Report report = options.idleSeconds > 0 ? soak.idle() : soak.run();
    cli::printNow(report.text());
    return report.passed() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    soak::Options options;
    cli::CommandLine line("soak", kAbout);
    describe(line.program(), options);
    line.program().work([&options] { return run(options); });
    try {
        return line.run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "soak: %s\n", error.what());
        return 1;
    }
}
