#include "file_calls.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

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

int through(const FileCall& call, const std::function<int()>& real) {
    if (const std::optional<FileAnswer> answer = ask(call)) {
        errno = answer->errorNumber;
        return answer->result;
    }
    const int result = real();
    tell(call);
    return result;
}

std::string pathOf(int descriptor) {
    std::array<char, 4096> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    return length < 0 ? std::string() : std::string(path.data(), static_cast<size_t>(length));
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
FILE* __real_fopen(const char* path, const char* mode);
size_t __real_fwrite(const void* data, size_t size, size_t count, FILE* file);
int __real_fflush(FILE* file);
int __real_fsync(int descriptor);
int __real_fclose(FILE* file);
int __real_rename(const char* from, const char* to);
int __real_unlink(const char* path);

int __wrap_stat(const char* path, struct stat* status) {
    return through({"stat", path, ""}, [&] { return __real_stat(path, status); });
}

FILE* __wrap_fopen(const char* path, const char* mode) {
    FILE* file = nullptr;
    const FileCall call{mode[0] == 'w' ? "create" : "open", path, ""};
    through(call, [&] {
        file = __real_fopen(path, mode);
        return 0;
    });
    return file;
}

size_t __wrap_fwrite(const void* data, size_t size, size_t count, FILE* file) {
    if (file == stdout || file == stderr) {
        return __real_fwrite(data, size, count, file);
    }
    size_t written = 0;
    through({"write", pathOf(fileno(file)), ""}, [&] {
        written = __real_fwrite(data, size, count, file);
        return 0;
    });
    return written;
}

int __wrap_fflush(FILE* file) {
    if (file == nullptr || file == stdout || file == stderr) {
        return __real_fflush(file);
    }
    return through({"flush", pathOf(fileno(file)), ""}, [&] { return __real_fflush(file); });
}

int __wrap_fsync(int descriptor) {
    return through({"sync", pathOf(descriptor), ""}, [&] { return __real_fsync(descriptor); });
}

int __wrap_fclose(FILE* file) {
    return through({"close", pathOf(fileno(file)), ""}, [&] { return __real_fclose(file); });
}

int __wrap_rename(const char* from, const char* to) {
    return through({"rename", from, to}, [&] { return __real_rename(from, to); });
}

int __wrap_unlink(const char* path) {
    return through({"unlink", path, ""}, [&] { return __real_unlink(path); });
}

}  // extern "C"
