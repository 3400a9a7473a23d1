#include "log_socket.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "harness/syslog_receiver.h"

using pallframe::simulation::check;

namespace {

constexpr char kPath[] = "/dev/log";

std::string received(int socket) {
    std::array<char, 65536> buffer{};
    const ssize_t size = ::recv(socket, buffer.data(), buffer.size(), 0);
    return {buffer.data(), static_cast<size_t>(std::max<ssize_t>(size, 0))};
}

pallframe::simulation::Descriptor openAsUsual(int type) {
    constexpr int kUsualLines = 10;
    harness::setLogQueue(kUsualLines);
    return pallframe::simulation::Descriptor(
        check(::socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket"));
}

}  // namespace

LogSocket::LogSocket(int type) : socket_(openAsUsual(type)) {
    ::unlink(kPath);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::copy(std::begin(kPath), std::end(kPath), address.sun_path);
    check(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
          kPath);
    if (type == SOCK_STREAM) {
        check(::listen(socket_.get(), 4), kPath);
    }
}

std::vector<std::string> LogSocket::take() const {
    std::vector<std::string> all;
    for (std::string one = received(socket_.get()); !one.empty(); one = received(socket_.get())) {
        all.push_back(one);
    }
    return all;
}

std::string LogSocket::takeStream() const {
    const pallframe::simulation::Descriptor connection(
        check(::accept4(socket_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC), kPath));
    return received(connection.get());
}
