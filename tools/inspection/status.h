#pragma once

#include <map>
#include <string>
#include <vector>

#include "frame/bonding.h"
#include "frame/programs.h"
#include "frame/tree.h"
#include "frame/xadc.h"

// The state of a simulated frame, and how it is shown.
namespace inspection {

struct FrameStatus {
    std::string product;
    frame::Bond bond;
    frame::Power power;
    std::map<std::string, std::string> services;  // "running" or "stopped", as it was told
    std::vector<std::string> missing;             // files put aside, sorted
    std::vector<frame::ProgramSetting> programs;  // those that are slow or fail
    std::vector<std::string> calls;               // what the programs were told, oldest first
};

// Throws frame::BadRequest when the tree is no frame.
FrameStatus statusOf(const frame::Tree& tree);

// Lines for a person, in columns.
std::string tableOf(const FrameStatus& status);

// The same as one JSON object on a line, for a program; valid whatever texts the frame holds.
std::string jsonOf(const FrameStatus& status);

}  // namespace inspection
