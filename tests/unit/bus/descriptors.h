#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

// The open descriptors of this process; one of them belonged to the listing itself.
inline std::vector<int> descriptors() {
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        found.push_back(std::stoi(entry.path().filename()));
    }
    return found;
}

// This process's socket that leads to the port, -1 when there is none.
inline int descriptorOfConnectionTo(std::int32_t port) {
    for (const int descriptor : descriptors()) {
        sockaddr_in address{};
        socklen_t size = sizeof address;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
            ntohs(address.sin_port) == port) {
            return descriptor;
        }
    }
    return -1;
}
