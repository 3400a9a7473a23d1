#pragma once

#include <sys/stat.h>

#include <string>

#include "pallframe/simulation/system_call.h"

namespace harness {

// Tells one writing of a file from another: changes whenever the file is written or replaced.
struct FileVersion {
    ino_t inode = 0;
    time_t seconds = 0;
    long nanoseconds = 0;
    bool operator==(const FileVersion&) const = default;
};

// Throws std::system_error when there is no such file.
inline FileVersion versionOf(const std::string& path) {
    struct stat status {};
    pallframe::simulation::check(::stat(path.c_str(), &status), path);
    return {status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

}  // namespace harness
