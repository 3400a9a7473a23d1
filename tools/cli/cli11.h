#pragma once

// The library that reads command lines, for this room alone. All of what an App is made of: with
// less, its parts lack their virtual tables under some compilers.
#include <CLI/CLI.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
