#pragma once

#include <string>
#include <string_view>

#include "frame/bonding.h"
#include "frame/product.h"
#include "frame/tree.h"
#include "frame/xadc.h"

// A frame's devices, as seen and moved by an operator's hand or by a program of the frame. Their
// state lives in the tree's files; each call here is one change, safe against all others. All throw
// std::system_error when the tree cannot be read or written.
namespace frame {

// A request that this frame cannot fulfil; the text is for the person who asked.
struct BadRequest : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The product that a tree was made for; throws BadRequest when the tree is no frame.
const Product& productOf(const Tree& tree);

Bond bondOf(const Tree& tree);
Power powerOf(const Tree& tree);

// Puts a bond or a power state into every file that shows it.
void storeBond(const Tree& tree, const Bond& bond);
void storePower(const Tree& tree, const Power& power);

// Plugs or pulls a cable; BadRequest for an interface that the bond does not have.
void setCable(const Tree& tree, std::string_view interface, bool up);

// Makes a port the active one; false when it is no port of the bond or its link is down.
bool swapActivePort(const Tree& tree, std::string_view interface);

// What a supply delivers, in volts; BadRequest for another number than 1 and 2.
void setSupply(const Tree& tree, int number, double volts);

// The battery's voltage under load; 0 takes it out.
void setBattery(const Tree& tree, double volts);

void setBatteryLoad(const Tree& tree, bool on);

// Gives a file of KEY=VALUE lines this one, in the place of the one with its key or at the end, as
// somebody does who edits it on the card.
void editLine(const Tree& tree, std::string_view path, std::string_view line);

}  // namespace frame
