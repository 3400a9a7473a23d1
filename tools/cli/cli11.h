#pragma once

// The command line parser, for this module only. Includes all parts of an App: with fewer, some
// compilers miss its virtual tables.
#include <CLI/CLI.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
