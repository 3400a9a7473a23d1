// The new text goes to a file of a temporary name beside the target and is synced; the old file
// becomes the copy or is dropped, the new one takes its name, and the directory is synced. Symbolic
// links are followed first, so that a link stays one and its target is replaced.

#include "util/file_replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <optional>

#include "util/files.h"

namespace util {

namespace {

constexpr int kMaxLinks = 40;  // as many as the kernel follows
constexpr mode_t kDefaultMode = 0644;
constexpr int kMaxKeptCopies = 9;

// An existing file of that name is not opened, followed or waited for.
constexpr int kNewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

// Ends with the slash; empty for a path of one name.
std::string parentDirectory(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

// The target of a symbolic link; nothing when the path is not a link.
std::optional<std::string> readLink(const std::string& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length <= 0) {
        return std::nullopt;
    }
    const std::string text(target.data(), static_cast<size_t>(length));
    return text.front() == '/' ? text : parentDirectory(path) + text;
}

// The status of a regular file; nothing for any other kind of file.
std::optional<struct stat> statRegularFile(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return std::nullopt;
    }
    return status;
}

bool isTaken(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 || errno != ENOENT;
}

bool existsButIsNotRegular(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

// Whether a new file may replace the one at `path`; sets errno when not. A read-only file is not
// replaced either.
bool isReplaceable(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return errno == ENOENT;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    return access(path.c_str(), W_OK) == 0;
}

// Removes a directory, or moves one that is not empty aside. A file stays.
void clearDirectory(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        return;
    }
    if (rmdir(path.c_str()) != 0 && (errno == ENOTEMPTY || errno == EEXIST)) {
        moveAside(path, path + ".bad");
    }
}

// A failure to remove the file shows when the name is used.
void clearName(const std::string& path) {
    if (unlink(path.c_str()) != 0 && (errno == EISDIR || errno == EPERM)) {
        clearDirectory(path);
    }
}

// Failures are ignored: a file system without owners or modes is not a reason to lose the bytes.
void copyOwnerAndMode(int descriptor, const struct stat& created,
                      const std::optional<struct stat>& like) {
    const mode_t mode = like ? like->st_mode & 07777 : kDefaultMode;
    bool hasMode = (created.st_mode & 07777) == mode;
    if (like && (like->st_uid != created.st_uid || like->st_gid != created.st_gid)) {
        // A new owner may cost bits of the mode.
        hasMode = fchown(descriptor, like->st_uid, like->st_gid) != 0 && hasMode;
    }
    if (!hasMode) {
        static_cast<void>(fchmod(descriptor, mode));
    }
}

UniqueDescriptor createFile(const std::string& path) {
    UniqueDescriptor file(::open(path.c_str(), kNewFileFlags, kDefaultMode));
    if (!file && errno == EEXIST) {
        clearName(path);
        return UniqueDescriptor(::open(path.c_str(), kNewFileFlags, kDefaultMode));
    }
    return file;
}

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            errno = count == 0 ? EIO : errno;
            return false;
        }
    }
    return true;
}

WriteFailure writeContents(UniqueDescriptor& file, std::string_view text,
                           const std::optional<struct stat>& like) {
    struct stat created {};
    if (fstat(file.get(), &created) != 0) {
        return WriteFailure::open;
    }
    copyOwnerAndMode(file.get(), created, like);
    if (!writeAll(file.get(), text)) {
        return WriteFailure::write;
    }
    if (fsync(file.get()) != 0) {
        return WriteFailure::sync;
    }
    return file.close() ? WriteFailure::none : WriteFailure::close;
}

// Removes an incomplete file; errno keeps the reason of the failure.
void discard(const std::string& path) {
    const int errorNumber = errno;
    unlink(path.c_str());
    errno = errorNumber;
}

}  // namespace

std::string resolveLinks(const std::string& path) {
    std::string end = path;
    for (int links = 0; links < kMaxLinks; ++links) {
        std::optional<std::string> next = readLink(end);
        if (!next) {
            return links > 0 && existsButIsNotRegular(end) ? path : end;
        }
        end = std::move(*next);
    }
    return path;
}

bool moveAside(const std::string& path, const std::string& kept) {
    std::string earlier = kept;
    for (int number = 2; number <= kMaxKeptCopies && isTaken(earlier); ++number) {
        earlier = kept + "." + std::to_string(number);
    }
    if (earlier != kept) {
        std::rename(kept.c_str(), earlier.c_str());
    }
    return std::rename(path.c_str(), kept.c_str()) == 0;
}

int replaceByRenaming(const std::string& from, const std::string& to) {
    const int result = std::rename(from.c_str(), to.c_str());
    if (result == 0 || (errno != EISDIR && errno != ENOTEMPTY && errno != EEXIST)) {
        return result;
    }
    clearDirectory(to);
    return std::rename(from.c_str(), to.c_str());
}

bool syncParentDirectory(const std::string& path) {
    const std::string directory = parentDirectory(path);
    const UniqueDescriptor opened(
        ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return opened && fsync(opened.get()) == 0;
}

WriteFailure writeNewFile(const std::string& path, std::string_view text, const std::string& like) {
    const std::optional<struct stat> model = statRegularFile(like);
    UniqueDescriptor file = createFile(path);
    if (!file) {
        return WriteFailure::open;
    }
    const WriteFailure failure = writeContents(file, text, model);
    if (failure != WriteFailure::none) {
        discard(path);
    }
    return failure;
}

WriteFailure replaceFile(const std::string& path, std::string_view text) {
    if (!isReplaceable(path)) {
        return WriteFailure::open;
    }
    const std::string target = resolveLinks(path);
    const std::string draft = target + ".new";
    if (const WriteFailure failure = writeNewFile(draft, text, target);
        failure != WriteFailure::none) {
        return failure;
    }
    if (std::rename(draft.c_str(), target.c_str()) != 0) {
        discard(draft);
        return WriteFailure::replace;
    }
    return syncParentDirectory(target) ? WriteFailure::none : WriteFailure::syncDirectory;
}

}  // namespace util
