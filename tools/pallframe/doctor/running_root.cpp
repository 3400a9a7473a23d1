#include "pallframe/doctor/running_root.h"

#include <arpa/inet.h>
#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <sstream>

#include "pallframe/sandbox/frame_registry.h"

namespace pallframe::doctor {

namespace {

bool isSame(const struct stat& one, const std::string& path) {
    struct stat other {};
    return ::stat(path.c_str(), &other) == 0 && one.st_dev == other.st_dev &&
           one.st_ino == other.st_ino;
}

// An address of 32 bits as the tables have it: the bytes of the network, read as a number.
std::string addressText(in_addr_t address) {
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%08X", address);
    return text.data();
}

// 127.0.0.1 itself, every address, and both as a socket of the newer protocol has them.
bool isReached(const std::string& address) {
    const std::string loopback = addressText(htonl(INADDR_LOOPBACK));
    const std::string any = addressText(INADDR_ANY);
    const std::string mapped = any + any + addressText(htonl(0xffff));
    return address == loopback || address == any || address == mapped + loopback ||
           address == any + any + any + any;
}

}  // namespace

std::string processIn(const simulation::Descriptor& root) {
    struct stat own {};
    simulation::check(::fstat(root.get(), &own), "fstat");
    if (isSame(own, "/")) {
        return "/proc/self";
    }
    for (const sandbox::RunningFrame& frame : sandbox::Registry::ofUser().running()) {
        std::string process = "/proc/" + std::to_string(frame.pid);
        if (isSame(own, process + "/root")) {
            return process;
        }
    }
    return "";
}

bool hasListener(const std::string& table, uint16_t port) {
    constexpr unsigned kListening = 0x0A;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        std::array<char, 33> address{};
        unsigned localPort = 0;
        unsigned state = 0;
        const int count = std::sscanf(line.c_str(), " %*u: %32[0-9A-F]:%x %*[0-9A-F]:%*x %x",
                                      address.data(), &localPort, &state);
        if (count == 3 && state == kListening && localPort == port && isReached(address.data())) {
            return true;
        }
    }
    return false;
}

}  // namespace pallframe::doctor
