#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "directory.h"

namespace prove {

// A directory whose names and bytes reach the disk by and by: bytes are sure only after their file
// was synced, names only after the directory was. What was not synced may be there or not, each for
// itself; of bytes also none or the first half. Names are without the directory.
class Disk {
  public:
    explicit Disk(const Directory& start);

    // Gives the file's number, which later calls name it by.
    size_t open(const std::string& name, bool creates, bool truncates);
    void write(size_t file, const std::string& bytes);
    void truncate(size_t file, size_t size);
    void sync(size_t file);
    void rename(const std::string& from, const std::string& to);
    void unlink(const std::string& name);
    void syncDirectory();

    // Every directory that may be left when the power goes now.
    std::set<Directory> leftovers() const;

  private:
    struct File {
        Entry sure;
        Entry now;
    };
    using Names = std::map<std::string, size_t>;

    void changeNames(const std::function<void(Names&)>& change);
    std::set<Entry> waysOf(const File& file) const;
    std::set<Directory> directoriesOf(const Names& names) const;

    std::vector<File> files_;
    Names sure_;
    Names present_;
    std::vector<std::function<void(Names&)>> pending_;
};

}  // namespace prove
