#pragma once

#include <array>
#include <string>

namespace lumo {

// A payload as a frame of the bus: its length in bytes, ":", the payload, ";". The example "ab"
// becomes "2:ab;".
std::string encodeNetString(const std::string& payload);

// The same bytes in three parts for a gathered write, the payload moved, not copied.
std::array<std::string, 3> netStringParts(std::string payload);

}  // namespace lumo
