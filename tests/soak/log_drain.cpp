#include "soaking/log_drain.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <charconv>

namespace soak {

using pallframe::simulation::check;

LogDrain::LogDrain()
    : socket_(check(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket")) {
    const sockaddr_un address{AF_UNIX, "/dev/log"};
    check(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
          "/dev/log");
}

// Each datagram begins with "<facility times 8 plus priority>" (RFC 3164).
void LogDrain::takeAll() {
    std::array<char, 16> head{};
    for (;;) {
        const ssize_t size = ::recv(socket_.get(), head.data(), head.size(), 0);
        if (size < 0) {
            return;
        }
        unsigned code = 0;
        std::from_chars(head.data() + 1, head.data() + size, code);
        ++lines_[code % lines_.size()];
    }
}

}  // namespace soak
