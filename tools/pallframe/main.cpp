#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/standard_descriptors.h"
#include "cli/standard_output.h"
#include "frame/devices.h"
#include "frame/programs.h"
#include "offers.h"
#include "process.h"
#include "verbs.h"

namespace {

using namespace pallframe;

int runVerbs(int argc, char** argv) {
    char** const end = argv + argc;
    char** const dashes = std::find(argv, end, std::string("--"));
    Call call;
    call.commandWords = static_cast<size_t>(std::max<ptrdiff_t>(end - dashes - 1, 0));
    cli::CommandLine line("pallframe",
                          "Makes simulated router frames and runs commands inside them.");
    line.program().requireCommand();
    for (const auto add : {addRun, addEnter, addList, addSet, addPlay, addStatus, addDoctor}) {
        add(line.program(), call);
    }
    const int status = line.run(argc, argv, offers);
    cli::flushOutput();
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        cli::holdStandardDescriptors();
        const std::vector<std::string> words(argv, argv + argc);
        if (!words.empty() && frame::isProgram(words[0])) {
            return frame::runProgram(frame::Tree("/"), words);
        }
        return runVerbs(argc, argv);
    } catch (const frame::BadRequest& error) {
        return complain(error);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallframe: %s\n", error.what());
        return kNoFrame;
    }
}
