#pragma once

#include <string>

namespace cli {

// What a program prints. A reader that has gone had all that it wanted; when anything else keeps
// the output from being written, these throw std::runtime_error, "standard output: reason".

// A text of any length, sooner or later. Short lines may be printed with stdio as well.
void print(const std::string& text);

// The text at once.
void printNow(const std::string& text);

// What was printed so far. To be called before a program ends, behind which nobody looks.
void flushOutput();

}  // namespace cli
