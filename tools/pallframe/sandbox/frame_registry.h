#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "pallframe/simulation/frame_root.h"

namespace pallframe::sandbox {

// A frame that runs on this machine, as its user finds it from outside.
struct RunningFrame {
    pid_t pid;              // of the frame's first process; it names the frame
    std::string directory;  // of its files; empty: they live in memory
    std::string command{};  // that it was made for, as a shell reads it

    // Known of those that a registry has found.
    std::string product{};
    std::chrono::system_clock::time_point started{};

    // The frame's files, also those in memory. What has this number by now and is no frame is a
    // FrameError, so that nothing is ever changed there.
    simulation::FrameRoot tree() const;
};

// Which frames of one user run: a directory with a file per frame, named after its first process.
// It also holds when that process started, since the kernel gives numbers out again.
class Registry {
  public:
    explicit Registry(std::filesystem::path directory);

    // The calling user's: in XDG_RUNTIME_DIR, or in /tmp where there is none that can be used.
    static Registry ofUser();

    // Makes a frame known; throws std::system_error, also when the directory belongs to another
    // user.
    void add(const RunningFrame& frame) const;
    void remove(pid_t pid) const;  // no error when it is not there

    // The frames that run and are complete, in the order of their numbers. Removes the entries of
    // frames that have ended.
    std::vector<RunningFrame> running() const;

  private:
    std::filesystem::path directory_;
};

// The one that is meant: by its number, or the only one when that is empty. Throws FrameError with
// a text that lists them when that does not name one.
RunningFrame chooseFrame(const std::vector<RunningFrame>& running, std::string_view name);

// The one whose files are in that directory. Throws FrameError when none of them runs there.
RunningFrame frameIn(const std::vector<RunningFrame>& running, const std::string& directory);

}  // namespace pallframe::sandbox
