// prove: what a card survives, shown on the unmodified daemon from outside. Starts frames side by
// side with workers of its own in them and prints one table.

#include <stdlib.h>

#include <cstdio>
#include <exception>
#include <random>
#include <string>
#include <thread>

#include "attacks.h"
#include "faults.h"
#include "harness/process.h"
#include "kills.h"
#include "power_cuts.h"
#include "program/command_line.h"
#include "program/standard_output.h"
#include "side_by_side.h"
#include "support/temporary_directory.h"

namespace {

using prove::Share;
using prove::Tally;

constexpr const char* kAbout =
    "Fails every call and every allocation of loading and saving, kills the daemon in a storm of\n"
    "sets, and starts it on every directory that a power cut may leave. Ends with a table, and "
    "with 1\nand a line for each loss when settings were lost.\n";

constexpr const char* kAttacker = "attacker";
constexpr const char* kWorker = "worker";  // the first word for a program inside a frame

struct Options {
    std::string program = "pallwatch";
    int kills = 1000;
    uint64_t seed = 0;
    bool isShort = false;
    bool attacks = false;
};

std::vector<prove::Attack> allAttacks() {
    const auto first = prove::messageAttacks();
    const auto second = prove::cardAttacks();
    std::vector<prove::Attack> all(first.begin(), first.end());
    all.insert(all.end(), second.begin(), second.end());
    return all;
}

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
         prove::proveFaults(program, share, tally);
     }},
    {"kills", 4, 1, true, prove::proveKills},
    {"power-cuts", 2, 5, false,
     [](const std::string& program, size_t, const Share& share, Tally& tally) {
         prove::provePowerCuts(program, share, tally);
     }},
};

// worker SECTION PROGRAM KILLS NUMBER OF STEP SEED
int work(char** words) {
    const Share share{std::stoul(words[3]), std::stoul(words[4]), std::stoul(words[5]),
                      std::stoull(words[6])};
    Tally tally;
    for (const Section& section : kSections) {
        if (section.name == std::string(words[0])) {
            section.prove(harness::programDirectory() / words[1], std::stoul(words[2]), share,
                          tally);
        }
    }
    printNow(tally.sent());
    return 0;
}

// The frames of a proof are not on the list of a person's own.
void keepOffTheList(const TemporaryDirectory& place) {
    ::setenv("XDG_RUNTIME_DIR", place.path().c_str(), 1);
}

// The first is for the machine's sake: a daemon that reads without end would take all it has.
constexpr rlim_t kMuchMemory = rlim_t{4} << 30;
constexpr rlim_t kShortMemory = rlim_t{128} << 20;

// attacker NUMBER PROGRAM LIMIT: prints its part of the row on the first line, then what is wrong.
int attack(char** words) {
    const std::vector<prove::Attack> all = allAttacks();
    const prove::Attack& one = all.at(std::stoul(words[0]));
    const rlim_t limit = std::stoul(words[2]);
    const prove::Damage damage =
        prove::carryOut(one, harness::programDirectory() / words[1], limit);
    if (limit == kMuchMemory) {
        printNow(prove::rowOf(one, damage) + "\n" + prove::breachesOf(one, damage));
    } else if (damage.lives) {
        printNow("yes\n");
    } else {
        const std::string lost = prove::listOf(damage.lost);
        printNow("no: " + lost + "\nFAILED: " + one.name + ": lost under 128 MB: " + lost + "\n");
    }
    return 0;
}

std::vector<prove::FrameJob> jobsOf(const Options& options, const TemporaryDirectory& place) {
    const std::string self = harness::programDirectory() / "prove";
    std::vector<prove::FrameJob> jobs;
    for (const Section& section : kSections) {
        const size_t shares = options.isShort ? 1 : section.shares;
        for (size_t i = 0; i < shares; ++i) {
            jobs.push_back(
                {"QuoraneBrio",
                 {self, kWorker, section.name, options.program, std::to_string(options.kills),
                  std::to_string(i), std::to_string(shares),
                  std::to_string(options.isShort ? section.shortStep : 1),
                  std::to_string(options.seed)},
                 section.name,
                 section.isOnDisk ? place.path("frame" + std::to_string(jobs.size())) : ""});
        }
    }
    return jobs;
}

// On a disk, because saving takes its time there. Each attack on a daemon with all the memory it
// wants, then under a limit.
int attackAll(const Options& options) {
    const TemporaryDirectory place;
    keepOffTheList(place);
    const std::vector<prove::Attack> all = allAttacks();
    std::vector<prove::FrameJob> jobs;
    for (size_t i = 0; i < all.size(); ++i) {
        for (const rlim_t limit : {kMuchMemory, kShortMemory}) {
            jobs.push_back({all[i].product,
                            {harness::programDirectory() / "prove", kAttacker, std::to_string(i),
                             options.program, std::to_string(limit)},
                            std::to_string(2 * i + (limit == kShortMemory ? 1 : 0)),
                            place.path("frame" + std::to_string(jobs.size()))});
        }
    }
    std::vector<std::string> cells(jobs.size());
    std::string failures;
    prove::runSideBySide(jobs, 3, [&](const prove::FrameJob& job, const std::string& printed) {
        const size_t lineEnd = printed.find('\n');
        cells[std::stoul(job.name)] = printed.substr(0, lineEnd);
        failures += lineEnd == std::string::npos ? "" : printed.substr(lineEnd + 1);
    });
    std::string table =
        "| attack | frame, MB | peak, MB | 5 s later, MB | blocked, s | lost | lives with 128 MB "
        "|\n"
        "|---|---|---|---|---|---|---|\n";
    for (size_t i = 0; i < all.size(); ++i) {
        table += "| " + cells[2 * i] + " | " + cells[2 * i + 1] + " |\n";
    }
    printNow(table + failures);
    return failures.empty() ? 0 : 1;
}

int proveAll(Options options) {
    if (options.seed == 0) {
        options.seed = std::random_device{}();
    }
    if (options.isShort) {
        options.kills /= 50;
    }
    std::printf("prove: %d kills, seed %llu\n", options.kills,
                static_cast<unsigned long long>(options.seed));
    std::fflush(stdout);
    const TemporaryDirectory place;
    keepOffTheList(place);
    Tally tally;
    prove::runSideBySide(jobsOf(options, place), 2 * std::thread::hardware_concurrency(),
                         [&tally](const prove::FrameJob& job, const std::string& printed) {
                             tally.take(job.name, printed);
                         });
    printNow(tally.table());
    return tally.passed() ? 0 : 1;
}

void describe(Verb program, Options& options) {
    program.addFlag("--short", options.isShort, "A sample of everything, in seconds");
    program.addFlag("--attacks", options.attacks, "Instead: each attack, and what it did");
    program.add("--kills", options.kills, "How many kills").check(numberAboveZero()).showsDefault();
    program.add("--seed", options.seed, "Of everything left to chance; 0 takes a new one")
        .showsDefault();
    program.add("--daemon", options.program, "The daemon, beside this program").showsDefault();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        if (argc == 9 && argv[1] == std::string(kWorker)) {
            return work(argv + 2);
        }
        if (argc == 5 && argv[1] == std::string(kAttacker)) {
            return attack(argv + 2);
        }
        Options options;
        CommandLine line("prove", kAbout);
        describe(line.program(), options);
        const auto status = line.read(argc, argv);
        if (status) {
            return *status;
        }
        return options.attacks ? attackAll(options) : proveAll(options);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "prove: %s\n", error.what());
        return 1;
    }
}
