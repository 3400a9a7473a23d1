#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "deadline.h"

namespace harness {

// A process of this frame as the kernel shows it (proc(5)).
struct ProcessEntry {
    std::filesystem::path proc;  // its directory
    pid_t pid = 0;               // as the processes of this frame number it
    std::string parent;          // the name of its parent's directory
    char state = '?';            // 'Z': ended, and its parent has not noticed
    std::string commandLine;     // the words, a blank between them; empty for a zombie
};

// All processes of this frame at this moment.
std::vector<ProcessEntry> processes();

// Waits until this process has the frame to itself, but for those that it was started by. Throws
// TimedOut.
void waitUntilAlone(const Deadline& deadline = Deadline());

// Where /proc is by number: the frame's own one has no place for the bonding file.
std::filesystem::path processRoot();

// What a process's descriptors refer to ("socket:[123]", a path, …), in the order of their numbers.
std::vector<std::string> descriptorsOf(const std::filesystem::path& proc);

}  // namespace harness
