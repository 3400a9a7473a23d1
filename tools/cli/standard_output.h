#pragma once

#include <string>

namespace cli {

// Standard output. A reader that has gone is not an error; after any other failure these throw
// std::runtime_error, "standard output: reason".

// Prints a text, perhaps buffered. Short lines may be printed with stdio as well.
void print(const std::string& text);

// The same, and flushes.
void printNow(const std::string& text);

// Writes the buffered output. To be called before a program ends.
void flushOutput();

}  // namespace cli
