#include "pallframe/simulation/frame_root.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "pallframe/simulation/frame_paths.h"

namespace pallframe::simulation {

namespace fs = std::filesystem;

namespace {

std::string aside(std::string_view absolute) {
    return std::string(paths::kAside).append(absolute);
}

void writeAll(const Descriptor& file, std::string_view text, const fs::path& path) {
    const auto written = ::write(file.get(), text.data(), text.size());
    check(written, path);
    if (static_cast<size_t>(written) != text.size()) {
        errno = ENOSPC;
        fail(path);
    }
}

// A new text on its way to its place, in the simulation's own directory so that the frame's
// directories never show it; taken away unless it was renamed.
struct Draft {
    explicit Draft(const fs::path& directory) : name(directory / "draft.XXXXXX") {
        fs::create_directories(directory);
        file = Descriptor(check(::mkostemp(name.data(), O_CLOEXEC), name));
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;
    ~Draft() { ::unlink(name.c_str()); }

    std::string name;
    Descriptor file;
};

}  // namespace

FrameRoot::FrameRoot(fs::path root) : root_(std::move(root)) {}

FrameRoot::FrameRoot(Descriptor root)
    : held_(std::make_shared<const Descriptor>(std::move(root))),
      root_("/proc/self/fd/" + std::to_string(held_->get())) {}

fs::path FrameRoot::path(std::string_view absolute) const {
    // In its shortest form, in which nothing is above the root.
    return root_ / fs::path(absolute).lexically_normal().relative_path();
}

bool FrameRoot::exists(std::string_view absolute) const {
    return fs::symlink_status(path(absolute)).type() != fs::file_type::not_found;
}

std::string FrameRoot::read(std::string_view absolute) const {
    const std::ifstream file(path(absolute), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();  // takes what a directory fails with for its end
    return text.str();
}

void FrameRoot::replace(std::string_view absolute, std::string_view text, mode_t mode) const {
    const fs::path target = path(absolute);
    fs::create_directories(target.parent_path());
    const Draft draft(path(paths::kOwnDirectory));
    check(::fchmod(draft.file.get(), mode), target);
    writeAll(draft.file, text, target);
    check(::rename(draft.name.c_str(), target.c_str()), target);
}

void FrameRoot::append(std::string_view absolute, std::string_view text) const {
    const fs::path target = path(absolute);
    const Descriptor file(
        check(::open(target.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644), target));
    writeAll(file, text, target);
}

void FrameRoot::makeDirectory(std::string_view absolute) const {
    fs::create_directories(path(absolute));
}

void FrameRoot::remove(std::string_view absolute) const {
    std::error_code ignored;
    fs::remove(path(absolute), ignored);
}

void FrameRoot::setAside(std::string_view absolute) const {
    if (exists(absolute)) {
        const fs::path target = path(aside(absolute));
        fs::create_directories(target.parent_path());
        fs::rename(path(absolute), target);
    }
}

void FrameRoot::restore(std::string_view absolute) const {
    if (exists(aside(absolute))) {
        fs::rename(path(aside(absolute)), path(absolute));
    } else if (!exists(absolute)) {
        replace(absolute, "");
    }
}

std::string FrameRoot::whereKept(std::string_view absolute) const {
    const std::string place = aside(absolute);
    return exists(place) ? place : std::string(absolute);
}

std::vector<std::string> FrameRoot::filesSetAside() const {
    std::vector<std::string> files;
    std::error_code ignored;
    const fs::path base = path(paths::kAside);
    for (const auto& entry : fs::recursive_directory_iterator(base, ignored)) {
        if (!entry.is_directory()) {
            files.push_back("/" + entry.path().lexically_relative(base).string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

FrameLock::FrameLock(const FrameRoot& tree)
    : file_(check(::open(tree.path(paths::kLock).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644),
                  tree.path(paths::kLock))) {
    check(::flock(file_.get(), LOCK_EX), tree.path(paths::kLock));
}

}  // namespace pallframe::simulation
