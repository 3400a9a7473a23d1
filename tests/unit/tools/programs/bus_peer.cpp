#include "bus_peer.h"

#include <linux/tcp.h>  // netinet/tcp.h knows fewer counters
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>

#include <gtest/gtest.h>

namespace {

// -1 when it is refused.
int tryToConnect(uint16_t port) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr generic{};
    std::memcpy(&generic, &address, sizeof generic);
    if (::connect(socket, &generic, sizeof generic) == 0) {
        return socket;
    }
    ::close(socket);
    return -1;
}

int connectTo(uint16_t port) {
    const int socket = tryToConnect(port);
    EXPECT_GE(socket, 0) << "port " << port;
    return socket;
}

}  // namespace

std::string framed(const std::string& payload) {
    return std::to_string(payload.size()) + ":" + payload + ";";
}

BusPeer::BusPeer(uint16_t port, int connectionID)
    : socket_(connectTo(port)), connectionID_(connectionID) {
    if (connectionID != 0) {
        const std::string id = std::to_string(connectionID);
        send("[\"SET\", \"system.connection\", " + id + ", 0, 0]\n" +
             R"({"param":{"login":{"name":"peer","connID":)" + id + R"(,"version":1}}})");
        EXPECT_NE(receive().find("\"statusCode\":200"), std::string::npos);
    }
}

BusPeer::~BusPeer() {
    vanish();
}

bool BusPeer::canConnect(uint16_t port) {
    const int socket = tryToConnect(port);
    ::close(socket);
    return socket >= 0;
}

void BusPeer::vanish() {
    ::close(socket_);
    socket_ = -1;
}

bool BusPeer::sendBytes(const std::string& bytes) {
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t size =
            ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (size <= 0) {
            return false;
        }
        sent += static_cast<size_t>(size);
    }
    return true;
}

bool BusPeer::sendBytes(const std::string& bytes, std::chrono::milliseconds time) {
    for (size_t sent = 0; sent < bytes.size();) {
        pollfd ready{socket_, POLLOUT, 0};
        if (::poll(&ready, 1, static_cast<int>(time.count())) <= 0) {
            return false;
        }
        const ssize_t size =
            ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size <= 0) {
            return false;
        }
        sent += static_cast<size_t>(size);
    }
    return true;
}

bool BusPeer::send(const std::string& payload) {
    return sendBytes(framed(payload));
}

void BusPeer::subscribe(const std::string& path, bool receiveAll) {
    send("[\"SET\", \"system.connection\", 0, 0, 0]\n{\"param\":{\"subscribeList\":[{\"path\":\"" +
         path + "\"" + (receiveAll ? ",\"receiveAll\":true" : "") + "}]}}");
    EXPECT_NE(receive().find("\"statusCode\":200"), std::string::npos);
}

std::string BusPeer::receive(std::chrono::milliseconds time) {
    std::string payload = takeFrame();
    while (payload.empty() && readMore(time)) {
        payload = takeFrame();
    }
    return payload;
}

std::string BusPeer::receiveBytes(size_t count) {
    while (received_.size() < count && readMore(std::chrono::seconds(30))) {
    }
    const std::string bytes = received_.substr(0, count);
    received_.erase(0, bytes.size());
    return bytes;
}

unsigned BusPeer::segments() const {
    tcp_info info{};
    socklen_t size = sizeof info;
    EXPECT_EQ(::getsockopt(socket_, IPPROTO_TCP, TCP_INFO, &info, &size), 0);
    return info.tcpi_data_segs_in;
}

bool BusPeer::isQuiet() {
    send("[\"SET\", \"\", " + std::to_string(connectionID_) + ", 0, 0]\n{\"id\":\"quiet\"}");
    const std::string next = receive();
    EXPECT_NE(next.find("\"id\":\"quiet\""), std::string::npos) << next;
    return next.find("\"id\":\"quiet\"") != std::string::npos;
}

bool BusPeer::isClosed() {
    received_.clear();
    while (readMore(std::chrono::seconds(30))) {
        received_.clear();
    }
    char byte = 0;
    return ::recv(socket_, &byte, 1, MSG_DONTWAIT) == 0 || (errno != EAGAIN && errno != EINTR);
}

bool BusPeer::readMore(std::chrono::milliseconds time) {
    pollfd ready{socket_, POLLIN, 0};
    if (::poll(&ready, 1, static_cast<int>(time.count())) <= 0) {
        return false;
    }
    std::array<char, 65536> chunk;
    const ssize_t size = ::recv(socket_, chunk.data(), chunk.size(), 0);
    if (size > 0) {
        received_.append(chunk.data(), static_cast<size_t>(size));
    }
    return size > 0;
}

std::string BusPeer::takeFrame() {
    const size_t colon = received_.find(':');
    if (colon == std::string::npos) {
        return {};
    }
    const size_t length = std::stoul(received_.substr(0, colon));
    if (received_.size() < colon + 1 + length + 1) {
        return {};
    }
    EXPECT_EQ(received_[colon + 1 + length], ';');
    std::string payload = received_.substr(colon + 1, length);
    received_.erase(0, colon + 1 + length + 1);
    return payload;
}
