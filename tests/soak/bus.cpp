#include "soaking/bus.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <stdexcept>

#include "bus/netstring.h"

namespace soak {

using pallframe::simulation::check;
using pallframe::simulation::Descriptor;

Bus::Bus(uint16_t port, std::function<void(const TarnInternalMessage&)> onMessage)
    : port_(port), onMessage_(std::move(onMessage)) {
    parser_.setOnMessage([this](auto payload) { decode(std::move(payload)); });
    listen();
}

void Bus::listen() {
    listener_ = Descriptor(
        check(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket"));
    const int on = 1;
    ::setsockopt(listener_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    check(::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
          "bind");
    check(::listen(listener_.get(), 1), "listen");
}

bool Bus::accept() {
    Descriptor connection(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (connection.get() < 0) {
        return false;
    }
    const int on = 1;
    ::setsockopt(connection.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    connection_ = std::move(connection);
    parser_.reset();
    return true;
}

void Bus::close() {
    connection_.close();
}

bool Bus::receive() {
    std::array<char, 65536> bytes{};
    const ssize_t size = ::recv(connection_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (size < 0 && errno == EAGAIN) {
        return true;
    }
    if (size <= 0) {
        close();
        return false;
    }
    parser_.feed(bytes.data(), static_cast<size_t>(size));
    return true;
}

bool Bus::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(connection_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

std::string Bus::frame(const std::string& type, const std::string& object, int source,
                       int destination, const std::string& data) {
    return lumo::encodeNetString("[\"" + type + "\", \"" + object + "\", " +
                                 std::to_string(source) + ", " + std::to_string(destination) +
                                 ", 0]\n" + data);
}

// The daemon sends nothing that is no message; if it did, this throws.
void Bus::decode(std::unique_ptr<std::vector<char>> payload) {
    onMessage_(TarnInternalMessage(std::move(payload)));
}

}  // namespace soak
