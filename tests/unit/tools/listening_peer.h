#pragma once

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

// The far end of a session, on the test's own thread: what is written waits in the kernel until
// the other side reads it, and the other way round.
class ListeningPeer {
  public:
    ListeningPeer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        sockaddr generic{};
        std::memcpy(&generic, &address, sizeof generic);
        EXPECT_EQ(::bind(listener_, &generic, sizeof generic), 0);
        EXPECT_EQ(::listen(listener_, 8), 0);
        EXPECT_EQ(::getsockname(listener_, &generic, &size), 0);
        std::memcpy(&address, &generic, sizeof address);
        port_ = ntohs(address.sin_port);
    }
    ~ListeningPeer() {
        stopListening();
        hangUp();
    }
    ListeningPeer(const ListeningPeer&) = delete;
    ListeningPeer& operator=(const ListeningPeer&) = delete;

    uint16_t port() const { return port_; }

    void stopListening() {
        ::close(listener_);
        listener_ = -1;
    }
    void accept() {
        hangUp();
        connection_ = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    }
    void hangUp() {
        ::close(connection_);
        connection_ = -1;
    }

    void write(const std::string& bytes) {
        ASSERT_EQ(::send(connection_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    void writeFrame(const std::string& payload) {
        write(std::to_string(payload.size()) + ":" + payload + ";");
    }

    // What has arrived; waits for the first of it. Empty when nothing comes, or the end has.
    std::string read() {
        std::string bytes;
        std::array<char, 65536> chunk{};
        pollfd ready{connection_, POLLIN, 0};
        while (::poll(&ready, 1, bytes.empty() ? 30'000 : 0) > 0) {
            const ssize_t size = ::recv(connection_, chunk.data(), chunk.size(), 0);
            if (size <= 0) {
                break;
            }
            bytes.append(chunk.data(), static_cast<size_t>(size));
        }
        return bytes;
    }

  private:
    int listener_;
    int connection_ = -1;
    uint16_t port_ = 0;
};
