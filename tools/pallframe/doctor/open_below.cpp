#include "pallframe/doctor/open_below.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <optional>
#include <utility>
#include <vector>

namespace pallframe::doctor {

namespace {

using util::UniqueDescriptor;

constexpr int kMaxLinks = 40;  // as in the kernel, path_resolution(7)

// Removes the first name of a path from it, with the slashes around it; empty if there is none.
std::string takeName(std::string& path) {
    path.erase(0, std::min(path.find_first_not_of('/'), path.size()));
    const size_t end = std::min(path.find('/'), path.size());
    std::string name = path.substr(0, end);
    path.erase(0, std::min(path.find_first_not_of('/', end), path.size()));
    return name;
}

// S_IFLNK, S_IFDIR and so on; 0 if it cannot be read.
mode_t readType(const UniqueDescriptor& opened) {
    struct stat status {};
    return ::fstat(opened.get(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

// One path, name by name.
class Walk {
  public:
    Walk(const UniqueDescriptor& root, std::string path, int flags)
        : root_(root), rest_(std::move(path)), flags_(flags) {}

    UniqueDescriptor open() {
        while (true) {
            const std::string name = takeName(rest_);
            if (name.empty() || name == "." || name == "..") {
                if (name == ".." && !inside_.empty()) {
                    inside_.pop_back();
                }
                if (rest_.empty()) {
                    return openHere(".", flags_);
                }
            } else if (auto opened = enter(name)) {
                return std::move(*opened);
            }
        }
    }

  private:
    // The file or a failure at the end of the path; otherwise goes on into a directory or link.
    std::optional<UniqueDescriptor> enter(const std::string& name) {
        UniqueDescriptor next = openHere(name, O_PATH | O_NOFOLLOW);
        if (!next) {
            return next;
        }
        const mode_t type = readType(next);
        if (type == S_IFLNK && !isTheFileItself()) {
            return follow(next) ? std::nullopt : std::optional(UniqueDescriptor{});
        }
        if (rest_.empty()) {
            return openHere(name, flags_ | O_NOFOLLOW);
        }
        if (type != S_IFDIR) {
            errno = ENOTDIR;
            return UniqueDescriptor{};
        }
        inside_.push_back(std::move(next));
        return std::nullopt;
    }

    UniqueDescriptor openHere(const std::string& name, int flags) const {
        const UniqueDescriptor& here = inside_.empty() ? root_ : inside_.back();
        return UniqueDescriptor(::openat(here.get(), name.c_str(), flags | O_CLOEXEC));
    }

    // Whether a link at this place was asked for, and not what it leads to.
    bool isTheFileItself() const { return rest_.empty() && (flags_ & O_NOFOLLOW) != 0; }

    bool follow(const UniqueDescriptor& link) {
        std::array<char, PATH_MAX> target{};
        const ssize_t size = ::readlinkat(link.get(), "", target.data(), target.size());
        if (size < 0) {
            return false;
        }
        if (++links_ > kMaxLinks) {
            errno = ELOOP;
            return false;
        }
        std::string path(target.data(), static_cast<size_t>(size));
        if (path.starts_with("/")) {
            inside_.clear();
        }
        rest_ = path.append(rest_.empty() ? "" : "/").append(rest_);
        return true;
    }

    const UniqueDescriptor& root_;
    std::string rest_;  // still to follow
    int flags_;
    std::vector<UniqueDescriptor> inside_{};  // the directories between the root and this place
    int links_ = 0;
};

}  // namespace

UniqueDescriptor openBelow(const UniqueDescriptor& root, const std::string& path, int flags) {
    return Walk(root, path, flags).open();
}

}  // namespace pallframe::doctor
