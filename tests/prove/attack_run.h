#pragma once

#include <string>

namespace prove {

inline constexpr const char* kAttacker = "attacker";  // the first word for an attacker in a frame

// Each attack whose name holds the text, in frames side by side, on the daemon of that name beside
// this program: with all the memory it wants, then with little. Prints the table and what was
// wrong; gives the status to end with.
int runAttacks(const std::string& program, const std::string& only);

// One attack, told by the words behind kAttacker: NUMBER PROGRAM LIMIT. Prints its part of the row
// on the first line, then what was wrong.
int runAttacker(char** words);

}  // namespace prove
