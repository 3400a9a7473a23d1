#pragma once

#include <filesystem>

#include "pallframe/simulation/system_call.h"

namespace pallframe::sandbox {

// A part of the host's files as it was when this was made, not yet visible anywhere (open_tree(2)).
// Later mounts do not change it. All calls throw std::system_error.
class HostMount {
  public:
    explicit HostMount(const std::filesystem::path& path);

    const std::filesystem::path& path() const { return path_; }

    void makeReadOnly() const;
    void appearAt(const std::filesystem::path& target) const;  // an existing file or directory

  private:
    std::filesystem::path path_;
    simulation::Descriptor tree_;
};

// Shows the host's `path` under `root`: a link as a link, a file or directory read-only. Does
// nothing when the host has no such path.
void showReadOnly(const std::filesystem::path& root, const std::filesystem::path& path);

// Shows a device of the host under `root`, as it is.
void showDevice(const std::filesystem::path& root, const std::filesystem::path& path);

// Creates a directory with its parents, or an empty file, as a mount point.
void makePlace(const std::filesystem::path& target, bool directory);

}  // namespace pallframe::sandbox
