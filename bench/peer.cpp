#include "peer.h"

#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include "programs.h"

Peer::Peer(uint16_t port)
    : listener_(checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = loopback(port);
    checked(bind(listener_, general(address), sizeof address), "bind");
    checked(listen(listener_, 1), "listen");
}

Peer::~Peer() {
    close(socket_);
    close(listener_);
    if (program_ > 0) {
        endProgram(program_);
    }
}

uint16_t Peer::port() const {
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    checked(getsockname(listener_, general(address), &size), "getsockname");
    return ntohs(address.sin_port);
}

void Peer::start(const std::vector<std::string>& command, int processor) {
    program_ = startProgram(command, processor, -1);  // its traces are not part of the table
    socket_ = checked(accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC), "accept");
    const int on = 1;
    checked(setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on), "TCP_NODELAY");
}

void Peer::send(const std::string& bytes) const {
    if (write(socket_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
        giveUp("write");
    }
}

std::string Peer::receive() const {
    char buffer[65536];
    // The kernel falls back to its own judgement after a while, so it is told before every read.
    const int quick = acknowledge_ == Acknowledge::promptly ? 1 : 0;
    setsockopt(socket_, IPPROTO_TCP, TCP_QUICKACK, &quick, sizeof quick);
    const ssize_t count = read(socket_, buffer, sizeof buffer);
    if (count <= 0) {
        giveUp("the program has gone");
    }
    return {buffer, static_cast<size_t>(count)};
}

int64_t Peer::processorTime() const {
    return processorTimeOf(program_);
}
