#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pallframe/simulation/frame_root.h"

// The programs and scripts that the daemon on the card runs: init scripts, service tools,
// ifenslave, devmem. One program stands behind all of them and is told by its name which one it is.
// Each writes down what it was told in paths::kCommands, one line per call in the order of the
// calls, and then changes the frame's devices or the noted state of a service.
namespace pallframe::simulation {

// Where programs are searched in a frame; the same as a shell's own default.
inline constexpr const char* kSearchPath =
    "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

// The absolute paths of all of them.
std::vector<std::string> programPaths();

// Is this how one of them was called (argv[0], with or without directory)?
bool isProgram(std::string_view name);

// Is one of them, told these words (the first one its name); returns its exit status. Does not
// return for sudo, which becomes what it was told to run. Throws std::system_error.
int runProgram(const FrameRoot& tree, const std::vector<std::string>& words);

// How long each call of a program takes; FrameError when there is no such program.
void setPause(const FrameRoot& tree, std::string_view program, double seconds);

// How each call of a program ends from now on: with that status and nothing done, or with 0 as
// usual. FrameError when there is no such program.
void setExitStatus(const FrameRoot& tree, std::string_view program, int status);

// How long each call of a program takes, and how it ends; 0 is as usual.
struct ProgramSetting {
    std::string name;
    double seconds;
    int status;

    bool operator==(const ProgramSetting&) const = default;
};

// Those that are not as usual.
std::vector<ProgramSetting> programSettings(const FrameRoot& tree);

// Words on one line as bash reads them, quoted where it needs that: "pkill -f '/bin/sh x'". A line
// end in a word is $'\n'.
std::string commandLine(const std::vector<std::string>& words);

}  // namespace pallframe::simulation
