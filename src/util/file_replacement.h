#pragma once

#include <string>
#include <string_view>

namespace util {

// Files that change as a whole or not at all, even when a step fails or the power is cut: a new
// file is written beside the old one and takes its name once its bytes are on the disk. Any thread
// may call these, one at a time for a path.

// The step at which writing a file failed; up to `replace`, the old file is whole and in place.
enum class WriteFailure {
    none,
    open,
    write,
    sync,
    close,
    replace,
    syncDirectory,  // the new file is in place, but a power cut may yet bring the old one back
};

// Follows the symbolic links of `path` to the file at their end, which need not exist yet. Returns
// `path` itself when the links form a circle or end at anything but a regular file.
std::string resolveLinks(const std::string& path);

// Syncs the directory of `path`, so that its names outlast a power cut. False with errno.
bool syncParentDirectory(const std::string& path);

// Renames the file at `path` to `kept`. An earlier file of that name is renamed to the first free
// one of "<kept>.2" to "<kept>.9", or replaces the last of them. False with errno.
bool moveAside(const std::string& path, const std::string& kept);

// As rename(2), but a directory at `to` makes room: it is removed, or moved aside to "<to>.bad"
// when it is not empty.
int replaceByRenaming(const std::string& from, const std::string& to);

// Creates a file with these bytes; they are on the disk when this returns `none`. An earlier file
// of that name is removed, a directory that is not empty moved aside. Owner and mode are those of
// the regular file `like`; if there is no such file, those of this process and 0644. After a
// failure errno holds the reason, and there is no file of that name.
WriteFailure writeNewFile(const std::string& path, std::string_view text, const std::string& like);

// Replaces the file at the end of the links of `path` by a new one with these bytes. The file need
// not exist yet; one that exists must be regular and writable, and its owner and mode are kept.
// After a failure errno holds the reason.
WriteFailure replaceFile(const std::string& path, std::string_view text);

}  // namespace util
