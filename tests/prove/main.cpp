// prove: what a card survives, shown on the unmodified daemon from outside. Starts frames side by
// side with workers of its own in them and prints one table.

#include <cstdio>
#include <exception>
#include <string>

#include "attack_run.h"
#include "cli/command_line.h"
#include "proof_run.h"

namespace {

constexpr const char* kAbout =
    "Fails every call and every allocation of loading and saving, kills the daemon at each call "
    "and\n"
    "in a storm of sets, and starts it on every directory that a power cut may leave. Ends with a\n"
    "table, and with 1 and a line for each loss when settings were lost.\n";

struct Options {
    prove::ProofOptions proof{"pallwatch"};
    bool attacks = false;
    std::string only;
};

void describe(cli::Command program, Options& options) {
    program.addFlag("--short", options.proof.isShort, "A sample of everything, in seconds");
    program.add("--kills", options.proof.kills, "Number of kills at random moments")
        .check(cli::numberAboveZero())
        .showsDefault();
    program.add("--seed", options.proof.seed, "Random seed; 0 chooses a new one").showsDefault();
    program.add("--daemon", options.proof.program, "The daemon, beside this program")
        .showsDefault();
    program.addFlag("--attacks", options.attacks, "Run the attacks instead, and print their cost");
    program.add("--only", options.only, "Only attacks whose name contains TEXT");
}

int run(int argc, char** argv) {
    if (argc == 9 && argv[1] == std::string(prove::kWorker)) {
        return prove::runWorker(argv + 2);
    }
    if (argc == 5 && argv[1] == std::string(prove::kAttacker)) {
        return prove::runAttacker(argv + 2);
    }
    Options options;
    cli::CommandLine line("prove", kAbout);
    describe(line.program(), options);
    line.program().work([&options] {
        return options.attacks ? prove::runAttacks(options.proof.program, options.only)
                               : prove::runProofs(options.proof);
    });
    return line.run(argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "prove: %s\n", error.what());
        return 1;
    }
}
