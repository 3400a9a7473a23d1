// What a round trip costs when nothing is done with the message: connects to the given port and
// answers every REQUEST bytes with a write of REPLY bytes, with epoll and nothing else. The measure
// that the daemon's own round trips are put beside.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

int connectTo(uint16_t port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // The socket interface wants the general type.
    if (connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::exit(EXIT_FAILURE);
    }
    // The bare program must not wait for acknowledgements either.
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return socket;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 4) {
        return 2;
    }
    const int socket = connectTo(static_cast<uint16_t>(std::strtoul(argv[1], nullptr, 10)));
    const size_t requestSize = std::strtoul(argv[2], nullptr, 10);
    const size_t replySize = std::strtoul(argv[3], nullptr, 10);
    const int poll = epoll_create1(EPOLL_CLOEXEC);
    epoll_event event = {};
    event.events = EPOLLIN;
    epoll_ctl(poll, EPOLL_CTL_ADD, socket, &event);

    char buffer[8192];
    const std::string reply(replySize, 'r');
    size_t received = 0;
    while (epoll_wait(poll, &event, 1, -1) == 1) {
        const ssize_t count = read(socket, buffer, sizeof buffer);
        if (count <= 0) {
            return EXIT_SUCCESS;
        }
        for (received += static_cast<size_t>(count); received >= requestSize;) {
            received -= requestSize;
            if (write(socket, reply.data(), reply.size()) < 0) {
                return EXIT_FAILURE;
            }
        }
    }
}
