#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pallframe/simulation/system_call.h"

namespace pallframe::simulation {

// The directory that is a frame's root: "/" for a program inside the frame, any other place from
// outside. Files are named by the absolute path they have in the frame. Several programs use one
// tree at the same time; a change of a device's state holds a FrameLock from reading to writing it.
class FrameRoot {
  public:
    explicit FrameRoot(std::filesystem::path root);

    // The same by an open descriptor: the directory stays the same even if its path changes.
    explicit FrameRoot(Descriptor root);

    // The path of the frame's file for this process.
    std::filesystem::path path(std::string_view absolute) const;

    bool exists(std::string_view absolute) const;  // also for a dangling link

    // The whole text, empty when there is no such file or it cannot be read.
    std::string read(std::string_view absolute) const;

    // Replaces a file, or creates it with its directories. A reader finds the old text or the new
    // one, never a part. Throws std::system_error.
    void replace(std::string_view absolute, std::string_view text, mode_t mode = 0644) const;

    // Adds to the end of a file in one write. Throws std::system_error.
    void append(std::string_view absolute, std::string_view text) const;

    void makeDirectory(std::string_view absolute) const;  // with all above it; throws
    void remove(std::string_view absolute) const;         // no error when it is not there

    // Puts a file aside, so that the frame finds it missing, and back. A file that was never there
    // comes into being empty. No effect when it is already so. Both throw std::system_error.
    void setAside(std::string_view absolute) const;
    void restore(std::string_view absolute) const;

    // The path under which the contents of a file are kept now: its own, or where it was put aside.
    std::string whereKept(std::string_view absolute) const;

    // The paths of all files that are put aside, sorted.
    std::vector<std::string> filesSetAside() const;

  private:
    std::shared_ptr<const Descriptor> held_;
    std::filesystem::path root_;
};

// Holds the tree's devices for one change, against all other programs that hold it too. Released
// when destroyed or when the process ends. The constructor waits, and throws std::system_error.
class FrameLock {
  public:
    explicit FrameLock(const FrameRoot& tree);

  private:
    Descriptor file_;
};

}  // namespace pallframe::simulation
