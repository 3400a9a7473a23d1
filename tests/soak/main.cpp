// soak: a long run of the daemon under load while everything around it fails. Runs inside a
// simulated frame whose system log is free.

#include <cstdio>
#include <random>

#include "cli/command_line.h"
#include "cli/standard_output.h"
#include "soaking/crowd.h"
#include "soaking/soak.h"
#include "util/log.h"

namespace {

constexpr const char* kAbout =
    "Runs the daemon in this frame under load, with a failing bus and failing devices, and counts\n"
    "what is lost. Ends with a table, and with 1 when anything was lost, grew or was left "
    "behind.\n";

void describe(cli::Command program, soak::Options& options) {
    program.add("--minutes", options.minutes, "How long")
        .check(cli::numberAboveZero())
        .showsDefault();
    program.add("--rate", options.rate, "Requests a second")
        .check(cli::numberAboveZero())
        .showsDefault();
    program.add("--seed", options.seed, "Of everything left to chance; 0 takes a new one")
        .showsDefault();
    program
        .add("--growth", options.growthKiB,
             "KiB of anonymous memory that may be added after the warm-up")
        .showsDefault();
    program
        .add("--idle", options.idleSeconds,
             "Instead: leave it alone for so many seconds and count its processor time")
        .check(cli::numberAboveZero());
    program
        .add("--clients", options.clients,
             "Instead: so many clients on the simulated bus, and trouble between")
        .check(cli::wholeNumber(1, 900));
}

soak::Report reportOf(const soak::Options& options) {
    if (options.clients > 0) {
        return soak::Crowd(options).run();
    }
    soak::Soak soak(options);
    return options.idleSeconds > 0 ? soak.idle() : soak.run();
}

int run(soak::Options options) {
    if (options.seed == 0) {
        options.seed = std::random_device{}();
    }
    if (options.idleSeconds > 0) {
        std::printf("soak: %g seconds of nothing\n", options.idleSeconds);
    } else {
        std::printf("soak: %g minutes, %g requests a second, seed %llu\n", options.minutes,
                    options.rate, static_cast<unsigned long long>(options.seed));
    }
    std::fflush(stdout);
    util::replaceLogSink([](int, const std::string&) {});
    const soak::Report report = reportOf(options);
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
