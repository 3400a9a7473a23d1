// A standard stream is shared with the parent of the process and with the commands that it runs, so
// the flags of its descriptor stay as they are, and each write is made non-blocking by itself. A
// pipe or a terminal is opened once more, with a description that does not wait.

#include "util/trace.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string_view>

#include "util/formatted_text.h"

namespace util {

namespace {

using Write = ssize_t (*)(int descriptor, const void* data, std::size_t size);

ssize_t sendWithoutWaiting(int socket, const void* data, std::size_t size) {
    return send(socket, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
}

// For a stream that takes a write only after a wait, or so it seems.
ssize_t writeWhenReady(int descriptor, const void* data, std::size_t size) {
    pollfd stream = {descriptor, POLLOUT, 0};
    if (poll(&stream, 1, 0) <= 0) {
        return -1;
    }
    // As much as a pipe with room takes without a wait.
    return write(descriptor, data, std::min<std::size_t>(size, PIPE_BUF));
}

void writeAll(Write writeSome, int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = writeSome(descriptor, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return;
        }
    }
}

// Another description of the same pipe or terminal.
int reopenWithoutWaiting(int descriptor) {
    std::array<char, sizeof "/proc/self/fd/2147483647"> path = {};
    std::snprintf(path.data(), path.size(), "/proc/self/fd/%d", descriptor);
    return open(path.data(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

void writeToPipeOrTerminal(int descriptor, std::string_view text) {
    const int own = reopenWithoutWaiting(descriptor);
    if (own < 0) {
        writeAll(writeWhenReady, descriptor, text);
        return;
    }
    writeAll(write, own, text);
    close(own);
}

void writeWithoutWaiting(int descriptor, std::string_view text) {
    struct stat kind = {};
    if (fstat(descriptor, &kind) != 0) {
        return;
    }
    if (S_ISSOCK(kind.st_mode)) {
        writeAll(sendWithoutWaiting, descriptor, text);
    } else if (S_ISFIFO(kind.st_mode) || isatty(descriptor) != 0) {
        writeToPipeOrTerminal(descriptor, text);
    } else {
        writeAll(write, descriptor, text);
    }
}

__attribute__((format(printf, 2, 0))) void writeFormatted(int descriptor, const char* format,
                                                          va_list arguments) {
    const int errorNumber = errno;
    if (const FormattedText formatted(format, arguments); formatted.text()) {
        writeWithoutWaiting(descriptor, *formatted.text());
    }
    errno = errorNumber;
}

}  // namespace

void trace(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    writeFormatted(STDOUT_FILENO, format, arguments);
    va_end(arguments);
}

void traceError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    traceErrorWith(format, arguments);
    va_end(arguments);
}

void traceErrorWith(const char* format, va_list arguments) {
    writeFormatted(STDERR_FILENO, format, arguments);
}

bool takesOutput(int descriptor) {
    const int errorNumber = errno;
    pollfd stream = {descriptor, POLLOUT, 0};
    bool takes = poll(&stream, 1, 0) != 0;
    if (const int room = takes ? fcntl(descriptor, F_GETPIPE_SZ) : 0; room > 0) {
        int unread = 0;
        takes = ioctl(descriptor, FIONREAD, &unread) != 0 || unread < room / 2;
    }
    errno = errorNumber;
    return takes;
}

}  // namespace util
