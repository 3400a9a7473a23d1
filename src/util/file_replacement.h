#pragma once

#include <string>
#include <string_view>

namespace util {

// Files that change as a whole or not at all, whatever fails on the way, a power cut included: a
// new file is written beside the old one and takes its name once its bytes are on the disk. Any
// thread may call these, one at a time for a path.

// The step at which writing a file failed; up to `replace`, the old file is whole and in place.
enum class WriteFailure {
    none,
    open,  // could not begin
    write,
    sync,
    close,
    replace,
    syncDirectory,  // the new file is in place, but a power cut may yet bring the old one back
};

// The file that `path` leads to over all its links, also when there is none yet. `path` itself when
// the links end at something that is no regular file, or lead in a circle.
std::string endOfLinks(const std::string& path);

// Makes the names in the directory of `path` last through a power cut. False with errno.
bool syncDirectoryOf(const std::string& path);

// Gives what stands at `path` the name `kept`. What had that goes to the first free one of
// "<kept>.2" to "<kept>.9", or else to the last of them. False with errno.
bool moveAside(const std::string& path, const std::string& kept);

// Clears a name of a directory that stands there: one with something in it is moved aside to
// "<path>.bad". Anything else stays.
void clearDirectory(const std::string& path);

// Makes a file of that name with these bytes, on the disk when this returns `none`. What had the
// name goes, a directory with something in it aside. The file's owner and mode are those
// of the regular file `like`, where there is none those of this process and 0644. After a failure
// errno tells why, and there is no file of that name.
WriteFailure writeNewFile(const std::string& path, std::string_view text, const std::string& like);

// Puts a new file with these bytes in the place of the one at the end of the links of `path`, which
// is none yet or a regular file that may be written to; owner and mode stay. errno tells why it
// failed.
WriteFailure replaceFile(const std::string& path, std::string_view text);

}  // namespace util
