#pragma once

#include <span>
#include <string>

#include "ground.h"

namespace prove {

// Something that happens to a card, from outside.
struct Attack {
    const char* name;
    const char* product;
    void (*carryOut)(Ground& ground);  // starts the daemon as well
    double received = 0;               // the longest frame that it sends, MB
};

std::span<const Attack> messageAttacks();  // through the bus
std::span<const Attack> cardAttacks();     // through files, commands, log, limits and signals

// One attack on a fresh daemon, with a limit of its memory in bytes.
Damage carryOut(const Attack& attack, const std::string& program, rlim_t limit);

// "a | b | …" for the table.
std::string rowOf(const Attack& attack, const Damage& damage);

// What a card must not do, a line each: hold more than 48 MB above the longest frame, keep more
// than 1 MB of it, lose anything, or stand still for 10 s.
std::string breachesOf(const Attack& attack, const Damage& damage);

std::string listOf(const std::vector<std::string>& lost);  // "nothing" for none

}  // namespace prove
