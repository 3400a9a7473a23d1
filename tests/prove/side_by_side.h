#pragma once

#include <functional>
#include <string>
#include <vector>

namespace prove {

// A command to be run in a frame of its own.
struct FrameJob {
    std::string product;
    std::vector<std::string> words;
    std::string name;
    std::string tree = {};  // where the frame's files are kept; in memory without it
};

// Keeps the frames off the list of a person's own: they are known in this directory.
void keepOffTheList(const std::string& directory);

// Runs the jobs, so many at a time, each with its frame; gives what each printed, or its last words
// when it failed, to `take`.
void runSideBySide(const std::vector<FrameJob>& jobs, size_t atOnce,
                   const std::function<void(const FrameJob&, const std::string&)>& take);

}  // namespace prove
