#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "pallframe/simulation/bonding.h"
#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/stub_programs.h"
#include "pallframe/simulation/xadc.h"

// The state of a simulated frame, and how it is shown.
namespace pallframe::doctor {

struct FrameStatus {
    std::string product;
    simulation::Bond bond;
    simulation::Power power;
    std::map<std::string, std::string> services;       // "running" or "stopped"
    std::vector<std::string> missing;                  // files put aside, sorted
    std::vector<simulation::ProgramSetting> programs;  // those that are slow or fail
    std::vector<std::string> calls;                    // calls of the stub programs, oldest first
    size_t omittedCalls = 0;                           // older ones, removed from `calls`
};

// Throws simulation::FrameError when the tree is not a frame.
FrameStatus readStatus(const simulation::FrameRoot& tree);

// Removes the oldest calls; keeps `count` of them.
void keepLastCalls(FrameStatus& status, uint64_t count);

// Lines for a person, the calls before the state, in a table of at most `maxWidth` columns; 0: any
// width.
std::string formatTable(const FrameStatus& status, size_t maxWidth = 0);

// The same as one JSON object on a line, for a program; valid for any texts in the frame.
std::string formatJSON(const FrameStatus& status);

}  // namespace pallframe::doctor
