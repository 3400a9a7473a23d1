#include "pallframe/sandbox/namespaces.h"

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

#include "pallframe/simulation/namespace_error.h"
#include "pallframe/simulation/system_call.h"

namespace pallframe {

namespace {

using simulation::check;
using simulation::Descriptor;

[[noreturn]] void explain(int error) {
    throw std::runtime_error(simulation::describeNamespaceError(error, [](const char* file) {
        std::string value;
        std::ifstream(file) >> value;
        return value;
    }));
}

void writeText(const char* path, const std::string& text) {
    const Descriptor file(check(::open(path, O_WRONLY | O_CLOEXEC), path));
    check(::write(file.get(), text.data(), text.size()), path);
}

void mapRootTo(uid_t user, gid_t group) {
    writeText("/proc/self/setgroups", "deny");
    writeText("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
    writeText("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
}

}  // namespace

void unshareNamespaces() {
    constexpr int kOwn = CLONE_NEWNET | CLONE_NEWPID;
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (user == 0 && ::unshare(kOwn) == 0) {
        return;
    }
    if (::unshare(kOwn | CLONE_NEWUSER) != 0) {
        explain(errno);
    }
    try {
        mapRootTo(user, group);
    } catch (const std::system_error& refused) {
        explain(refused.code().value());
    }
}

void unshareMounts() {
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        explain(errno);
    }
}

void enableLoopback() {
    const Descriptor socket(check(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket"));
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    check(::ioctl(socket.get(), SIOCGIFFLAGS, &request), "loopback");
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    check(::ioctl(socket.get(), SIOCSIFFLAGS, &request), "loopback");
}

}  // namespace pallframe
