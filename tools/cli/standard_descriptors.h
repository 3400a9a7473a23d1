#pragma once

namespace cli {

// The first thing that a program does: takes the places of a standard input, output or error that
// it was started without, so that no file or connection of its own gets them. Using what was
// missing fails as before. Throws std::system_error when that is not possible.
void holdStandardDescriptors();

}  // namespace cli
