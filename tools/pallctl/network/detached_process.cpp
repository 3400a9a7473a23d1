#include "pallctl/network/detached_process.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <exception>
#include <system_error>

#include "client/exit_status.h"

namespace pallctl {

namespace {

constexpr int kLine = STDERR_FILENO + 1;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Keeps only the line: a reader of the client's output must not wait for this process.
void detach(int line) {
    ::setsid();
    ::dup2(line, kLine);
    ::close_range(kLine + 1, UINT_MAX, 0);
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        ::dup2(nothing, standard);
    }
    ::close(nothing);
}

[[noreturn]] void live(const std::function<int(int line)>& life, int line) {
    detach(line);
    int status = client::kInDoubt;
    try {
        status = life(kLine);
    } catch (const std::exception& error) {
        sendText(kLine, error.what());
    }
    ::_exit(status);
}

}  // namespace

DetachedProcess::DetachedProcess(const std::function<int(int line)>& life) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        fail("socketpair");
    }
    line_ = util::UniqueDescriptor(ends[0]);
    const util::UniqueDescriptor other(ends[1]);
    process_ = ::fork();
    if (process_ < 0) {
        fail("fork");
    }
    if (process_ == 0) {
        live(life, other.get());
    }
}

std::optional<int> DetachedProcess::wait() {
    int status = 0;
    while (::waitpid(process_, &status, 0) < 0) {
        if (errno != EINTR) {
            return std::nullopt;
        }
    }
    return WIFEXITED(status) ? std::optional(WEXITSTATUS(status)) : std::nullopt;
}

void sendText(int line, const std::string& text) {
    ::send(line, text.data(), std::min(text.size(), DetachedProcess::kMaxTextBytes),
           MSG_NOSIGNAL | MSG_DONTWAIT);
}

std::string receiveText(int line) {
    std::array<char, DetachedProcess::kMaxTextBytes> text;
    const ssize_t size = ::recv(line, text.data(), text.size(), MSG_DONTWAIT);
    return {text.data(), size > 0 ? static_cast<size_t>(size) : 0};
}

}  // namespace pallctl
