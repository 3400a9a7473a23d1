#include "peer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <iostream>

namespace {

[[noreturn]] void giveUp(const std::string& what) {
    std::cerr << "round_trips: " << what << ": " << std::strerror(errno) << "\n";
    std::exit(EXIT_FAILURE);
}

int checked(int result, const char* what) {
    if (result < 0) {
        giveUp(what);
    }
    return result;
}

sockaddr* general(sockaddr_in& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

[[noreturn]] void execute(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    // The program's traces are not part of the table.
    dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
    execv(arguments[0], arguments.data());
    _exit(127);
}

}  // namespace

void runOn(int processor) {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<size_t>(processor), &set);
    checked(sched_setaffinity(0, sizeof set, &set), "sched_setaffinity");
}

Peer::Peer(uint16_t port)
    : listener_(checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    checked(bind(listener_, general(address), sizeof address), "bind");
    checked(listen(listener_, 1), "listen");
}

Peer::~Peer() {
    close(socket_);
    close(listener_);
    if (program_ > 0) {
        kill(program_, SIGTERM);
        waitpid(program_, nullptr, 0);
    }
}

uint16_t Peer::port() const {
    sockaddr_in address = {};
    socklen_t size = sizeof address;
    checked(getsockname(listener_, general(address), &size), "getsockname");
    return ntohs(address.sin_port);
}

void Peer::start(const std::vector<std::string>& command, int processor) {
    program_ = checked(fork(), "fork");
    if (program_ == 0) {
        runOn(processor);
        execute(command);
    }
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
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(program_, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        giveUp("processor time");
    }
    return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}
