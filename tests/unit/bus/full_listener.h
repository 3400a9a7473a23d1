#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <vector>

// A listener on the loopback that accepts nobody and whose backlog is full: further
// connection attempts are left undecided.
class FullListener {
  public:
    // Port 0 stands for a free one.
    explicit FullListener(std::uint16_t port = 0)
        : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const int on = 1;
        ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        address_.sin_family = AF_INET;
        address_.sin_port = htons(port);
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address_;
        ::bind(listener_, generic(), size);
        ::getsockname(listener_, generic(), &size);
        ::listen(listener_, 0);
        // The first is taken into the backlog; the second shows that nobody else is.
        for (int i = 0; i < 2; ++i) {
            fillers_.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
            ::connect(fillers_.back(), generic(), size);
        }
    }
    ~FullListener() {
        ::close(listener_);
        for (const int filler : fillers_) {
            ::close(filler);
        }
    }
    FullListener(const FullListener&) = delete;
    FullListener& operator=(const FullListener&) = delete;

    std::int32_t port() const { return ntohs(address_.sin_port); }

  private:
    sockaddr* generic() { return reinterpret_cast<sockaddr*>(&address_); }

    const int listener_;
    sockaddr_in address_{};
    std::vector<int> fillers_;
};
