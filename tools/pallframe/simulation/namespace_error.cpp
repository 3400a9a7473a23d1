#include "pallframe/simulation/namespace_error.h"

#include <array>
#include <cstring>

namespace pallframe::simulation {

namespace {

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

}  // namespace pallframe::simulation
