#pragma once

#include <optional>

// All of what an App is made of: with less, its parts lack their virtual tables under some
// compilers.
#include <CLI/CLI.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

// What the programs for people have in common on their command lines.

// Status of a program that did not understand its command line.
inline constexpr int kBadUsage = 2;

// Adds --version, and has every complaint begin with the program's name and fit one line.
void finishCommandLine(CLI::App& app);

// Reads the command line into the app's options. Nothing when the program is to go on; otherwise
// the status to end with: 0 when help or version were asked for and printed, kBadUsage after a
// complaint on standard error.
std::optional<int> readCommandLine(CLI::App& app, int argc, const char* const* argv);
