#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

// The file calls of this program, seen and if need be answered by a test. The linker passes every
// such call of the objects in this program through here (the C++ library's own file streams, with
// which tests prepare and read files, are not among them). One watch at a time, one thread.

struct FileCall {
    // "stat", "status" (of a descriptor), "link", "create", "open", "read", "write", "owner",
    // "mode", "sync", "close", "rename", "unlink", "rmdir", "mkdir"
    std::string verb;
    std::string path;
    std::string target;  // of a rename, otherwise empty
    bool operator==(const FileCall&) const = default;
};

// Whether the disk is another after the call.
inline bool changesTheDisk(const FileCall& call) {
    return call.verb != "stat" && call.verb != "status" && call.verb != "link" &&
           call.verb != "open" && call.verb != "read" && call.verb != "close";
}

struct FileAnswer {
    int result;
    int errorNumber;
};

class FileCallWatch {
  public:
    // Asked before each call: an answer is what the caller gets, the call itself is left out.
    using Before = std::function<std::optional<FileAnswer>(const FileCall&)>;
    // Told after each call that was made.
    using After = std::function<void(const FileCall&)>;

    explicit FileCallWatch(Before before, After after = {});
    ~FileCallWatch();
    FileCallWatch(const FileCallWatch&) = delete;
    FileCallWatch& operator=(const FileCallWatch&) = delete;
};
