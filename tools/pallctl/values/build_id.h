#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pallctl {

// The build ID that the linker wrote into a program, in hexadecimal digits as file(1) and
// readelf(1) print it. `file` is the beginning of an ELF file of this byte order; empty when there
// is none in it. Pure function.
std::optional<std::string> findBuildID(std::string_view file);

}  // namespace pallctl
