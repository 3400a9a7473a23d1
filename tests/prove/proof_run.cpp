#include "proof_run.h"

#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <vector>

#include "cli/standard_output.h"
#include "faults.h"
#include "harness/process.h"
#include "kills.h"
#include "power_cuts.h"
#include "side_by_side.h"
#include "support/temporary_directory.h"

namespace prove {

namespace {

// A kind of proof, done by several workers.
struct Section {
    const char* name;
    size_t shares;
    size_t shortStep;  // every so many cases in a short proof
    bool isOnDisk;     // where writing takes its time
    void (*prove)(const std::string& program, size_t kills, const Share& share, Tally& tally);
};

constexpr Section kSections[] = {
    {"faults", 8, 97, false,
     [](const std::string& program, size_t, const Share& share, Tally& tally) {
         proveFaults(program, share, tally);
     }},
    {"kills", 4, 1, true, proveKills},
    {"power-cuts", 1, 5, false,
     [](const std::string& program, size_t, const Share& share, Tally& tally) {
         provePowerCuts(program, share, tally);
     }},
};

constexpr int kShortKills = 20;
constexpr size_t kAtOnce = 12;  // most of a proof is waiting

std::vector<FrameJob> jobsOf(const ProofOptions& options, const TemporaryDirectory& place) {
    const std::string self = harness::programDirectory() / "prove";
    std::vector<FrameJob> jobs;
    for (const Section& section : kSections) {
        const size_t shares =
            options.isShort ? std::min<size_t>(section.shares, 4) : section.shares;
        const size_t step = options.isShort ? section.shortStep : 1;
        for (size_t i = 0; i < shares; ++i) {
            jobs.push_back(
                {"QuoraneBrio",
                 {self, kWorker, section.name, options.program, std::to_string(options.kills),
                  std::to_string(i), std::to_string(shares), std::to_string(step),
                  std::to_string(options.seed)},
                 section.name,
                 section.isOnDisk ? place.path("frame" + std::to_string(jobs.size())) : ""});
        }
    }
    return jobs;
}

}  // namespace

int runProofs(ProofOptions options) {
    if (options.seed == 0) {
        options.seed = std::random_device{}();
    }
    if (options.isShort) {
        options.kills = kShortKills;
    }
    std::printf("prove: %d kills, seed %llu\n", options.kills,
                static_cast<unsigned long long>(options.seed));
    std::fflush(stdout);
    const TemporaryDirectory place;
    keepOffTheList(place.path());
    Tally tally;
    runSideBySide(jobsOf(options, place), kAtOnce,
                  [&tally](const FrameJob& job, const std::string& printed) {
                      tally.take(job.name, printed);
                  });
    cli::printNow(tally.table());
    return tally.passed() ? 0 : 1;
}

int runWorker(char** words) {
    const Share share{std::stoul(words[3]), std::stoul(words[4]), std::stoul(words[5]),
                      std::stoull(words[6])};
    Tally tally;
    for (const Section& section : kSections) {
        if (section.name == std::string(words[0])) {
            section.prove(harness::programDirectory() / words[1], std::stoul(words[2]), share,
                          tally);
        }
    }
    cli::printNow(tally.sent());
    return 0;
}

}  // namespace prove
