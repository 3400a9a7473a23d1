#include "pallframe/sandbox/mounts.h"

#include <fcntl.h>
#include <sys/mount.h>

#include <fstream>

namespace pallframe::sandbox {

namespace fs = std::filesystem;
using simulation::check;

HostMount::HostMount(const fs::path& path)
    : path_(path),
      tree_(check(
          ::open_tree(AT_FDCWD, path.c_str(), OPEN_TREE_CLONE | OPEN_TREE_CLOEXEC | AT_RECURSIVE),
          "cannot show " + path.string())) {}

void HostMount::makeReadOnly() const {
    mount_attr attributes{};
    attributes.attr_set = MOUNT_ATTR_RDONLY;
    check(::mount_setattr(tree_.get(), "", AT_EMPTY_PATH | AT_RECURSIVE, &attributes,
                          sizeof(attributes)),
          "cannot protect " + path_.string());
}

void HostMount::appearAt(const fs::path& target) const {
    check(::move_mount(tree_.get(), "", AT_FDCWD, target.c_str(), MOVE_MOUNT_F_EMPTY_PATH),
          "cannot show " + path_.string() + " in the frame");
}

void makePlace(const fs::path& target, bool directory) {
    fs::create_directories(directory ? target : target.parent_path());
    if (!directory) {
        std::ofstream(target, std::ios::app);
    }
}

void showReadOnly(const fs::path& root, const fs::path& path) {
    const fs::path target = root / path.relative_path();
    const fs::file_status status = fs::symlink_status(path);
    if (fs::is_symlink(status)) {
        fs::create_directories(target.parent_path());
        fs::create_symlink(fs::read_symlink(path), target);
    } else if (fs::exists(status)) {
        const HostMount part(path);
        part.makeReadOnly();
        makePlace(target, fs::is_directory(status));
        part.appearAt(target);
    }
}

void showDevice(const fs::path& root, const fs::path& path) {
    const fs::path target = root / path.relative_path();
    makePlace(target, false);
    HostMount(path).appearAt(target);
}

}  // namespace pallframe::sandbox
