#include "pallframe/sandbox/namespaces.h"

#include <cerrno>
#include <map>

#include <gtest/gtest.h>

using pallframe::sandbox::describeNamespaceError;

namespace {

constexpr const char* kClone = "/proc/sys/kernel/unprivileged_userns_clone";
constexpr const char* kMaxNamespaces = "/proc/sys/user/max_user_namespaces";
constexpr const char* kAppArmor = "/proc/sys/kernel/apparmor_restrict_unprivileged_userns";

std::string textWith(const std::map<std::string, std::string>& files) {
    return describeNamespaceError(EPERM, [&files](const char* file) {
        const auto found = files.find(file);
        return found == files.end() ? std::string() : found->second;
    });
}

TEST(NamespaceError, NamesTheSwitchThatForbidsIt) {
    const std::string begin =
        "no namespaces for this user (Operation not permitted): run as root, or allow them with: "
        "sudo sysctl -w ";
    EXPECT_EQ(textWith({{kClone, "0"}, {kMaxNamespaces, "96365"}}),
              begin + "kernel.unprivileged_userns_clone=1");
    EXPECT_EQ(textWith({{kClone, "1"}, {kMaxNamespaces, "0"}}),
              begin + "user.max_user_namespaces=15000");
    EXPECT_EQ(textWith({{kMaxNamespaces, "96365"}, {kAppArmor, "1"}}),
              begin + "kernel.apparmor_restrict_unprivileged_userns=0");
}

TEST(NamespaceError, WithoutSuchASwitchOnlyRootIsLeft) {
    const std::string text =
        "no namespaces for this user (Operation not permitted): run as root; a container must be "
        "started with --privileged";
    EXPECT_EQ(textWith({}), text);
    EXPECT_EQ(textWith({{kClone, "1"}, {kMaxNamespaces, "96365"}, {kAppArmor, "0"}}), text);
}

TEST(NamespaceError, SaysWhatTheKernelSaid) {
    const auto nothing = [](const char*) { return std::string(); };
    EXPECT_NE(describeNamespaceError(ENOSPC, nothing).find("(No space left on device)"),
              std::string::npos);
}

}  // namespace
