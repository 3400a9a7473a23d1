#include "support/file_calls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

// On a 32-bit machine the C library has these calls under other names for programs with 64-bit time
// and offsets.
#if defined(_TIME_BITS) && _TIME_BITS == 64
#define __real_stat __real___stat64_time64
#define __wrap_stat __wrap___stat64_time64
#define __real_fstat __real___fstat64_time64
#define __wrap_fstat __wrap___fstat64_time64
#define __real_open __real_open64
#define __wrap_open __wrap_open64
#endif

extern "C" ssize_t __real_readlink(const char* path, char* target, size_t size);

namespace {

struct Watch {
    FileCallWatch::Before before;
    FileCallWatch::After after;
};

Watch& watch() {
    static Watch current;
    return current;
}

// Calls that a watch makes itself are not shown to it.
class Aside {
  public:
    Aside() { inside() = true; }
    ~Aside() { inside() = false; }
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;

    static bool& inside() {
        thread_local bool value = false;
        return value;
    }
};

std::optional<FileAnswer> ask(const FileCall& call) {
    if (Aside::inside() || !watch().before) {
        return std::nullopt;
    }
    const Aside aside;
    return watch().before(call);
}

void tell(const FileCall& call) {
    if (Aside::inside() || !watch().after) {
        return;
    }
    const int errorNumber = errno;
    const Aside aside;
    watch().after(call);
    errno = errorNumber;
}

bool isWatched() {
    return !Aside::inside() && (watch().before || watch().after);
}

template <typename Real>
auto through(const FileCall& call, const Real& real) -> decltype(real()) {
    if (const std::optional<FileAnswer> answer = ask(call)) {
        errno = answer->errorNumber;
        return answer->result;
    }
    const auto result = real();
    tell(call);
    return result;
}

std::string pathOf(int descriptor) {
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = __real_readlink(link.c_str(), path.data(), path.size());
    return length < 0 ? std::string() : std::string(path.data(), static_cast<size_t>(length));
}

// A call for what a descriptor stands for; those of terminals, pipes and sockets are the tests'
// own.
template <typename Real>
auto on(const char* verb, int descriptor, const Real& real) -> decltype(real()) {
    const std::string path = isWatched() ? pathOf(descriptor) : std::string();
    return path.starts_with('/') ? through({verb, path, ""}, real) : real();
}

}  // namespace

FileCallWatch::FileCallWatch(Before before, After after) {
    watch() = {std::move(before), std::move(after)};
}

FileCallWatch::~FileCallWatch() {
    watch() = {};
}

extern "C" {

int __real_stat(const char* path, struct stat* status);
int __real_fstat(int descriptor, struct stat* status);
ssize_t __real_readlink(const char* path, char* target, size_t size);
int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int descriptor, void* bytes, size_t size);
ssize_t __real_write(int descriptor, const void* bytes, size_t size);
int __real_fchown(int descriptor, uid_t owner, gid_t group);
int __real_fchmod(int descriptor, mode_t mode);
int __real_fsync(int descriptor);
int __real_close(int descriptor);
int __real_rename(const char* from, const char* to);
int __real_unlink(const char* path);
int __real_rmdir(const char* path);
int __real_mkdir(const char* path, mode_t mode);

int __wrap_stat(const char* path, struct stat* status) {
    return through({"stat", path, ""}, [&] { return __real_stat(path, status); });
}

int __wrap_fstat(int descriptor, struct stat* status) {
    return on("status", descriptor, [&] { return __real_fstat(descriptor, status); });
}

ssize_t __wrap_readlink(const char* path, char* target, size_t size) {
    return through({"link", path, ""}, [&] { return __real_readlink(path, target, size); });
}

int __wrap_open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return through({(flags & O_CREAT) != 0 ? "create" : "open", path, ""},
                   [&] { return __real_open(path, flags, mode); });
}

ssize_t __wrap_read(int descriptor, void* bytes, size_t size) {
    return on("read", descriptor, [&] { return __real_read(descriptor, bytes, size); });
}

ssize_t __wrap_write(int descriptor, const void* bytes, size_t size) {
    return on("write", descriptor, [&] { return __real_write(descriptor, bytes, size); });
}

int __wrap_fchown(int descriptor, uid_t owner, gid_t group) {
    return on("owner", descriptor, [&] { return __real_fchown(descriptor, owner, group); });
}

int __wrap_fchmod(int descriptor, mode_t mode) {
    return on("mode", descriptor, [&] { return __real_fchmod(descriptor, mode); });
}

int __wrap_fsync(int descriptor) {
    return on("sync", descriptor, [&] { return __real_fsync(descriptor); });
}

// A close that fails has closed the descriptor all the same.
int __wrap_close(int descriptor) {
    const FileCall call{"close", isWatched() ? pathOf(descriptor) : "", ""};
    const std::optional<FileAnswer> answer = ask(call);
    const int result = __real_close(descriptor);
    if (answer) {
        errno = answer->errorNumber;
        return answer->result;
    }
    tell(call);
    return result;
}

int __wrap_rename(const char* from, const char* to) {
    return through({"rename", from, to}, [&] { return __real_rename(from, to); });
}

int __wrap_unlink(const char* path) {
    return through({"unlink", path, ""}, [&] { return __real_unlink(path); });
}

int __wrap_rmdir(const char* path) {
    return through({"rmdir", path, ""}, [&] { return __real_rmdir(path); });
}

int __wrap_mkdir(const char* path, mode_t mode) {
    return through({"mkdir", path, ""}, [&] { return __real_mkdir(path, mode); });
}

}  // extern "C"
