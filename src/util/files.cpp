// A file is opened without blocking, so that a pipe or a device in its place holds nobody up, and
// only a regular file is read, to its end or to the limit. The outcome says where that stopped.

#include "util/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "util/log.h"

namespace util {

namespace {

constexpr int kKeyAttempts = 10;
constexpr std::chrono::milliseconds kKeyPause{500};

UniqueFile openedFile(const std::string& path, const char* mode) {
    UniqueFile file = openFile(path, mode);
    if (!file) {
        throw std::runtime_error("error while opening file: " + path);
    }
    return file;
}

// Without waiting for the other end of a pipe, and without taking a controlling terminal.
constexpr int kReadFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

FileContents stoppedBy(Reading outcome, int errorNumber) {
    FileContents contents;
    contents.outcome = outcome;
    contents.errorNumber = errorNumber;
    return contents;
}

ssize_t readSome(int descriptor, void* bytes, size_t size) {
    ssize_t count = 0;
    do {
        count = ::read(descriptor, bytes, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

// Reads one byte more than the limit at most, to learn whether there is one. A read that gets less
// than it asked for is at the end of the file, unless the kernel makes the file in pieces; such a
// file states another size.
void readBytes(int descriptor, size_t limit, FileContents& contents) {
    contents.bytes.reserve(std::min(limit, contents.statedSize));
    std::array<char, 16384> chunk;
    bool complete = false;
    while (!complete) {
        const size_t room = limit - contents.bytes.size();
        const size_t asked = std::min(chunk.size(), room + 1);
        const ssize_t count = readSome(descriptor, chunk.data(), asked);
        if (count < 0) {
            contents.outcome = Reading::failed;
            contents.errorNumber = errno;
            return;
        }
        const auto got = static_cast<size_t>(count);
        contents.bytes.append(chunk.data(), std::min(got, room));
        if (got > room) {
            contents.outcome = Reading::tooLong;
            contents.errorNumber = EFBIG;
            return;
        }
        complete = got == 0 || (got < asked && contents.bytes.size() == contents.statedSize);
    }
    contents.outcome = Reading::complete;
}

FileContents readDescriptor(int descriptor, size_t limit) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return stoppedBy(Reading::notOpened, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return stoppedBy(Reading::notRegular, S_ISDIR(status.st_mode) ? EISDIR : ESPIPE);
    }
    FileContents contents;
    contents.statedSize = static_cast<size_t>(std::max<off_t>(status.st_size, 0));
    readBytes(descriptor, limit, contents);
    return contents;
}

// A file that counts as missing is replaced, so one failed call is not enough.
bool isMissing(const std::string& path, int errorOfOpen) {
    return errorOfOpen == ENOENT && !fileExists(path) && errno == ENOENT;
}

// For callers that report failures by exceptions. An error may have cut the contents short.
FileContents openedContents(const std::string& path) {
    FileContents contents = readContents(path);
    if (contents.outcome == Reading::missing || contents.outcome == Reading::notOpened) {
        throw std::runtime_error("error while opening file: " + path);
    }
    if (contents.outcome == Reading::noMemory) {
        throw std::bad_alloc();
    }
    return contents;
}

void requireReadable(const FileContents& contents, const std::string& path) {
    if (contents.outcome == Reading::failed || contents.outcome == Reading::notRegular) {
        throw std::runtime_error("error while reading file: " + path);
    }
}

}  // namespace

UniqueFile openFile(const std::string& path, const char* mode) {
    return UniqueFile(std::fopen(path.c_str(), (std::string(mode) + "e").c_str()));
}

UniqueDescriptor::~UniqueDescriptor() {
    const int errorNumber = errno;
    close();
    errno = errorNumber;
}

bool UniqueDescriptor::close() {
    const int descriptor = std::exchange(descriptor_, -1);
    return descriptor < 0 || ::close(descriptor) == 0;
}

FileContents readContents(const std::string& path, size_t limit) try {
    const UniqueDescriptor descriptor(::open(path.c_str(), kReadFlags));
    if (!descriptor) {
        const int errorNumber = errno;
        return stoppedBy(isMissing(path, errorNumber) ? Reading::missing : Reading::notOpened,
                         errorNumber);
    }
    return readDescriptor(descriptor.get(), limit);
} catch (const std::bad_alloc&) {
    return stoppedBy(Reading::noMemory, ENOMEM);
}

bool fileExists(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0;
}

void makeDirectory(const std::string& path) {
    if (fileExists(path)) {
        return;
    }
    if (mkdir(path.c_str(), 0700) != 0) {
        throw std::system_error(errno, std::generic_category(), "mkdir" + path);
    }
}

std::string readFile(const std::string& path, bool keepNewlines) {
    FileContents contents = openedContents(path);
    requireReadable(contents, path);
    std::string& text = contents.bytes;
    if (!keepNewlines) {
        std::erase(text, '\n');
    } else if (!text.empty() && text.back() != '\n') {
        text += '\n';
    }
    return std::move(text);
}

std::string readWholeFile(const std::string& path) {
    FileContents contents = readContents(path);
    if (contents.outcome == Reading::noMemory) {
        throw std::bad_alloc();
    }
    return contents.outcome == Reading::failed ? std::string() : std::move(contents.bytes);
}

std::string readFirstLine(const std::string& path) {
    const std::string text = readWholeFile(path);
    return text.substr(0, text.find('\n'));
}

void saveTextFile(const std::string& path, const std::string& text) {
    using std::chrono::steady_clock;
    const steady_clock::time_point start = steady_clock::now();
    const UniqueFile file = openedFile(path, "w");
    const bool complete = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    if (!complete || std::fflush(file.get()) != 0) {
        throw std::runtime_error("error while writing file: " + path);
    }
    const std::chrono::duration<long long, std::milli> elapsed =
        std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - start);
    logMessage(LOG_INFO, "%s (%s - %zu bytes) took %lld ms\n", __func__, path.c_str(), text.size(),
               elapsed.count());
}

std::optional<std::string> findKeyValue(const std::string& text, const std::string& key) {
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        const size_t equals = line.find('=');
        if (equals != std::string_view::npos && line.substr(0, equals) == key) {
            return std::string(line.substr(equals + 1));
        }
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return std::nullopt;
}

void sleepFor(std::chrono::milliseconds time) {
    std::this_thread::sleep_for(time);
}

std::string readKeyValue(const std::string& path, const std::string& key, const Pause& pause) {
    for (int attempt = 0; attempt < kKeyAttempts; ++attempt) {
        const FileContents contents = openedContents(path);
        // The bytes before an error count: the key may already be there.
        if (std::optional<std::string> value = findKeyValue(contents.bytes, key)) {
            return *value;
        }
        requireReadable(contents, path);
        pause(kKeyPause);
    }
    return {};
}

}  // namespace util
