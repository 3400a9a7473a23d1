#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pallframe/simulation/frame_root.h"

// The programs and scripts that the daemon on the card runs: init scripts, service tools,
// ifenslave, devmem. All are links to one program, which knows by its name which of them it is.
// Each call is logged in paths::kCommands, one line per call in the order of the calls, and then
// changes the frame's devices or the state of a service.
namespace pallframe::simulation {

// Where programs are searched in a frame; the same as a shell's own default.
inline constexpr const char* kSearchPath =
    "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

// The absolute paths of all of them.
std::vector<std::string> programPaths();

// Whether the name (argv[0], with or without directory) is that of a stub program.
bool isProgram(std::string_view name);

// Acts as the program with these arguments (the first is its name); returns the exit status. Does
// not return for sudo, which executes its command. Throws std::system_error.
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
