#pragma once

#include <string>
#include <string_view>

#include "cli/script_errors.h"
#include "pallframe/simulation/bonding.h"
#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/product.h"
#include "pallframe/simulation/xadc.h"

// A frame's devices, for an operator and for the programs of the frame. Their state is in the
// tree's files; each call here is one change and safe against concurrent ones. All throw
// std::system_error when the tree cannot be read or written.
namespace pallframe::simulation {

// A request that this frame cannot fulfil; the text is for the person who asked.
struct FrameError : cli::UserError {
    using UserError::UserError;
};

// The product that a tree was made for; throws FrameError when the tree is not a frame.
const Product& readProduct(const FrameRoot& tree);

Bond readBond(const FrameRoot& tree);
Power readPower(const FrameRoot& tree);

// Puts a bond or a power state into every file that shows it.
void storeBond(const FrameRoot& tree, const Bond& bond);
void storePower(const FrameRoot& tree, const Power& power);

// Plugs or pulls a cable; FrameError for an interface that the bond does not have.
void setCable(const FrameRoot& tree, std::string_view interface, bool up);

// Makes a port the active one; false when it is no port of the bond or its link is down.
bool swapActivePort(const FrameRoot& tree, std::string_view interface);

// What a supply delivers, in volts; FrameError for another number than 1 and 2.
void setSupply(const FrameRoot& tree, int number, double volts);

// The battery's voltage under load; 0 takes it out.
void setBattery(const FrameRoot& tree, double volts);

void setBatteryLoad(const FrameRoot& tree, bool on);

// Writes a line to a file of KEY=VALUE lines: replaces the line with the same key, or appends it.
void editLine(const FrameRoot& tree, std::string_view path, std::string_view line);

}  // namespace pallframe::simulation
