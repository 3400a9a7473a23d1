#include "pallframe/sandbox/namespaces.h"

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>

#include "pallframe/simulation/system_call.h"

namespace pallframe::sandbox {

namespace {

using simulation::check;
using simulation::Descriptor;

// A switch of the kernel that keeps ordinary users from namespaces when it has this value.
struct KernelSwitch {
    const char* file;
    const char* forbids;
    const char* allows;
};

constexpr std::array<KernelSwitch, 3> kSwitches{{
    {"/proc/sys/kernel/unprivileged_userns_clone", "0", "kernel.unprivileged_userns_clone=1"},
    {"/proc/sys/user/max_user_namespaces", "0", "user.max_user_namespaces=15000"},
    {"/proc/sys/kernel/apparmor_restrict_unprivileged_userns", "1",
     "kernel.apparmor_restrict_unprivileged_userns=0"},
}};

[[noreturn]] void explain(int error) {
    throw std::runtime_error(describeNamespaceError(error, [](const char* file) {
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

std::string describeNamespaceError(int error,
                                   const std::function<std::string(const char* file)>& readValue) {
    const std::string why =
        "no namespaces for this user (" + std::string(std::strerror(error)) + "): run as root";
    for (const KernelSwitch& one : kSwitches) {
        if (readValue(one.file) == one.forbids) {
            return why + ", or allow them with: sudo sysctl -w " + one.allows;
        }
    }
    return why + "; a container must be started with --privileged";
}

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

}  // namespace pallframe::sandbox
