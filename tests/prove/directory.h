#pragma once

#include <sys/types.h>

#include <map>
#include <string>

namespace prove {

// One name of a directory: a file with its bytes, a link with where it leads, or anything else,
// which has its kind only.
struct Entry {
    mode_t mode = 0;  // kind and permissions, as of stat
    std::string text;

    auto operator<=>(const Entry&) const = default;
};

// What stands in a directory, without what is below other directories in it.
using Directory = std::map<std::string, Entry>;

// A plain file with these bytes.
Entry plainFile(const std::string& bytes);

// The directory of that path as it stands. Throws std::system_error.
Directory takeDirectory(const std::string& path);

// Makes the directory of that path look like that: what else stands in it goes.
void putDirectory(const std::string& path, const Directory& directory);

// "name (12 bytes), …" for a person.
std::string describe(const Directory& directory);

}  // namespace prove
