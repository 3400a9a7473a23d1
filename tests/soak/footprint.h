#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace soak {

// What a process holds, from the kernel's own account (proc(5)).
struct Footprint {
    size_t residentKiB = 0;   // all of it
    size_t anonymousKiB = 0;  // without the pages of its files: heap and stacks
    size_t descriptors = 0;
    size_t threads = 0;
};

// `process` is its directory under /proc.
Footprint footprintOf(const std::filesystem::path& process);

// Its children, zombies included, as "pid name state".
std::vector<std::string> childrenOf(const std::filesystem::path& process);

// The same of this process's parent, without this process: in a frame of its own that parent takes
// in all who lost theirs.
std::vector<std::string> siblings();

}  // namespace soak
