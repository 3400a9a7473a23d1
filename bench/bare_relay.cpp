// What passing a message on costs when nothing is done with it: listens on a free port, which it
// prints, takes two connections and writes what comes from either to the other, with epoll and
// nothing else. The measure that the simulated bus is put beside.

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace {

sockaddr* general(sockaddr_in& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

int checked(int result) {
    if (result < 0) {
        std::exit(EXIT_FAILURE);
    }
    return result;
}

int listenAnywhere() {
    const int listener = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    checked(bind(listener, general(address), size));
    checked(listen(listener, 2));
    checked(getsockname(listener, general(address), &size));
    std::printf("listening on 127.0.0.1:%u\n", ntohs(address.sin_port));
    std::fflush(stdout);
    return listener;
}

int acceptOne(int listener, int poll, uint32_t number) {
    const int connection = checked(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    epoll_event event = {};
    event.events = EPOLLIN;
    event.data.u32 = number;
    checked(epoll_ctl(poll, EPOLL_CTL_ADD, connection, &event));
    return connection;
}

}  // namespace

int main() {
    const int listener = listenAnywhere();
    const int poll = checked(epoll_create1(EPOLL_CLOEXEC));
    const int first = acceptOne(listener, poll, 0);
    const std::array<int, 2> connections{first, acceptOne(listener, poll, 1)};
    std::array<char, 16384> buffer;
    epoll_event event = {};
    while (epoll_wait(poll, &event, 1, -1) == 1) {
        const uint32_t from = event.data.u32;
        const ssize_t count = read(connections[from], buffer.data(), buffer.size());
        if (count <= 0) {
            return EXIT_SUCCESS;
        }
        if (write(connections[1 - from], buffer.data(), static_cast<size_t>(count)) != count) {
            return EXIT_FAILURE;
        }
    }
}
