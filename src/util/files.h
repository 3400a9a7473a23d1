#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace util {

// Reads and writes whole files; reads the first mebibyte unless a function says otherwise.
// Failures are exceptions here, std::runtime_error with the text "error while opening file: ",
// "error while reading file: " or "error while writing file: " and the path, unless a function says
// otherwise. Any thread may call these.

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<FILE, FileCloser>;

// fopen, with the descriptor closed in commands that are run later. Null with errno on failure.
// A writer that has to know whether its bytes arrived flushes before it lets go.
UniqueFile openFile(const std::string& path, const char* mode);

// Owns an open descriptor, or none (-1). Its end leaves errno alone.
class UniqueDescriptor {
  public:
    UniqueDescriptor() = default;
    explicit UniqueDescriptor(int descriptor) : descriptor_(descriptor) {}
    UniqueDescriptor(UniqueDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
    }
    UniqueDescriptor& operator=(UniqueDescriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~UniqueDescriptor();

    explicit operator bool() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }

    // Closes it now. False, with errno, when what was written may not have arrived.
    bool close();

  private:
    int descriptor_ = -1;
};

// The outcome of reading a file.
enum class Reading {
    complete,
    tooLong,     // as many of its first bytes as were asked for
    missing,     // no file of that name
    notOpened,   // there is one
    notRegular,  // opened, but a directory, a pipe or a device, of which nothing is read
    failed,      // what came before the failure
    noMemory,
};

struct FileContents {
    Reading outcome = Reading::missing;
    int errorNumber = 0;    // of the call that failed
    size_t statedSize = 0;  // as the file's status has it; the kernel's own files state any size
    std::string bytes;
};

// The most that is read of a file whose reader names no other limit; no file of a frame comes near.
inline constexpr size_t kMaxFileBytes = size_t{1} << 20;

// Reads a file's first `limit` bytes. Never waits, even for a pipe or device. Throws nothing.
FileContents readContents(const std::string& path, size_t limit = kMaxFileBytes);

// True when stat works on the path, for any kind of file.
bool fileExists(const std::string& path);

// Makes one directory (mode 0700) where nothing is yet; its parent has to be there. Throws
// std::system_error with errno and the text "mkdir" and the path, without a space between them.
void makeDirectory(const std::string& path);

// The file's lines: all newlines dropped, or each line with one at its end, the last one too.
std::string readFile(const std::string& path, bool keepNewlines);

// For callers that treat an unreadable file as an empty one, without log line: the bytes as they
// are; the first line without its newline. Throw only std::bad_alloc.
std::string readWholeFile(const std::string& path);
std::string readFirstLine(const std::string& path);

// Replaces the file's contents by exactly these bytes and logs the time it took.
void saveTextFile(const std::string& path, const std::string& text);

// The text after the first '=' in the first line that has exactly `key` before it, unchanged:
// quotes and spaces are the caller's to strip. Nothing when no line has it.
std::optional<std::string> findKeyValue(const std::string& text, const std::string& key);

using Pause = std::function<void(std::chrono::milliseconds)>;
void sleepFor(std::chrono::milliseconds time);

// findKeyValue of a file that another process may still be writing: looks ten times, with a pause
// of 500 ms after each look that did not find the key, then returns the empty text. A file that
// cannot be opened is not waited for.
std::string readKeyValue(const std::string& path, const std::string& key,
                         const Pause& pause = sleepFor);

}  // namespace util
