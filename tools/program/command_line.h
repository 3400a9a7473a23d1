#pragma once

#include <optional>
#include <string>

#include "program/completion.h"
#include "program/help_text.h"

// What the programs for people have in common on their command lines.

// Status of a program that did not understand its command line.
inline constexpr int kBadUsage = 2;

// Others' words in a line of one's own: control characters, line ends among them, become "?".
std::string onOneLine(std::string text, char instead = '?');

// The version of all programs, "1.2.3".
const char* programVersion();

// Adds --version, gives help its form (help_text.h), and has every complaint begin with the
// program's name and fit one line. To be called when all verbs are there.
void finishCommandLine(CLI::App& app);

// Reads the command line into the app's options. Nothing when the program is to go on; otherwise
// the status to end with: 0 when help or version were asked for and printed, kBadUsage after a
// complaint on standard error. The verb "complete", which no help shows, is answered here: it gives
// the shells what could stand for the last of its words, the values with the help of `offerValues`.
// Throws std::runtime_error when what was asked for could not be printed.
std::optional<int> readCommandLine(CLI::App& app, int argc, const char* const* argv,
                                   const OfferValues& offerValues = {});
