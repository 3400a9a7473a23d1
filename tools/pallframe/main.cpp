// pallframe: simulates router frames.

#include <algorithm>
#include <string>
#include <vector>

#include "pallframe/commands/commands.h"
#include "pallframe/sandbox/frame_process.h"
#include "pallframe/simulation/stub_programs.h"

namespace {

using namespace pallframe;

constexpr const char* kAbout = "Creates simulated router frames and runs commands inside them.";

// In the order in which the help lists them.
constexpr AddCommand kCommands[] = {
    addRun, addEnter, addList, addSet, addPlay, addStatus, addDoctor,
};

int runCommand(int argc, char** argv) {
    char** const end = argv + argc;
    char** const dashes = std::find(argv, end, std::string("--"));
    const auto wordsAfterDashes = static_cast<size_t>(std::max<ptrdiff_t>(end - dashes - 1, 0));
    cli::CommandLine line("pallframe", kAbout);
    line.program().requireCommand();
    for (const AddCommand add : kCommands) {
        add(line.program(), wordsAfterDashes);
    }
    return line.run(argc, argv, completeFrameValues);
}

int run(int argc, char** argv) {
    const std::vector<std::string> words(argv, argv + argc);
    // The stub programs of a frame are links to this program.
    return !words.empty() && simulation::isProgram(words[0])
               ? simulation::runProgram(simulation::FrameRoot("/"), words)
               : runCommand(argc, argv);
}

}  // namespace

int main(int argc, char** argv) {
    return cli::runProgram("pallframe", sandbox::kNoFrame, [&] { return run(argc, argv); });
}
