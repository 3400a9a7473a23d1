#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "pallframe/simulation/frame_root.h"

namespace pallframe::sandbox {

// A frame that runs on this machine, seen from outside.
struct RunningFrame {
    pid_t pid;              // of the frame's first process; the number of the frame
    std::string directory;  // with its files; empty: they are in memory
    std::string command{};  // that runs in it, as a shell reads it

    // Set by Registry::running().
    std::string product{};
    std::chrono::system_clock::time_point started{};

    // The frame's files, also those in memory. Throws FrameError when the number belongs to another
    // process by now.
    simulation::FrameRoot tree() const;
};

// The running frames of one user: a directory with a file for each frame, named after its first
// process. The file also contains the start time of that process, since the kernel reuses numbers.
class Registry {
  public:
    explicit Registry(std::filesystem::path directory);

    // The registry of the calling user: in XDG_RUNTIME_DIR, or in /tmp without a usable one.
    static Registry ofUser();

    // Adds a frame; throws std::system_error, also when the directory belongs to another
    // user.
    void add(const RunningFrame& frame) const;
    void remove(pid_t pid) const;  // no error without an entry

    // The frames that run and are complete, in the order of their numbers. Removes the entries of
    // frames that have ended.
    std::vector<RunningFrame> running() const;

  private:
    std::filesystem::path directory_;
};

// The frame with that number, or the only frame when `name` is empty. Throws FrameError with the
// list of frames when that is not one frame.
RunningFrame chooseFrame(const std::vector<RunningFrame>& running, std::string_view name);

// The frame with its files in that directory. Throws FrameError without one.
RunningFrame frameIn(const std::vector<RunningFrame>& running, const std::string& directory);

}  // namespace pallframe::sandbox
