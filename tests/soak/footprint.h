#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "soak_lib/report.h"

namespace soak {

// What a process holds, as the kernel counts it (proc(5)).
struct Footprint {
    size_t residentKiB = 0;   // all of it
    size_t anonymousKiB = 0;  // without the pages of its files: heap and stacks
    size_t descriptors = 0;
    size_t threads = 0;
};

// `process` is its directory under /proc.
Footprint readFootprint(const std::filesystem::path& process);

// The rows of one process. Fails when it gained descriptors, threads or more than `growthKiB` of
// anonymous memory; other memory is pages of the program that it had not used before.
void reportGrowth(Report& report, const std::string& process, const Footprint& start,
                  const Footprint& end, size_t growthKiB);

// The children of a process, zombies included, as "pid state command".
std::vector<std::string> listChildren(const std::filesystem::path& process);

// The same for the parent of this process, without this process. In a frame the parent adopts every
// process that has lost its own.
std::vector<std::string> listSiblings();

}  // namespace soak
