#pragma once

#include <filesystem>
#include <string>

#include "support/temporary_directory.h"

namespace systemstate {

// A directory that stands for the root of a frame: files go by their absolute paths, and their
// directories are made on the way.
class FrameRoot {
  public:
    std::string path() const { return directory_.path(); }

    void write(const std::string& absolute, const std::string& text) const {
        makeParent(absolute);
        directory_.write(absolute.substr(1), text);
    }

    // Makes `absolute` another name for a file of the real machine, such as a device.
    void link(const std::string& absolute, const std::string& target) const {
        makeParent(absolute);
        std::filesystem::create_symlink(target, directory_.path(absolute.substr(1)));
    }

    std::string read(const std::string& absolute) const {
        return directory_.read(absolute.substr(1));
    }

    bool holds(const std::string& absolute) const { return directory_.holds(absolute.substr(1)); }

    void remove(const std::string& absolute) const {
        std::filesystem::remove(directory_.path(absolute.substr(1)));
    }

  private:
    void makeParent(const std::string& absolute) const {
        std::filesystem::create_directories(
            std::filesystem::path(directory_.path(absolute.substr(1))).parent_path());
    }

    TemporaryDirectory directory_;
};

}  // namespace systemstate
