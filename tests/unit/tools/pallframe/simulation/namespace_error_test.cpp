#include "pallframe/simulation/namespace_error.h"

#include <cerrno>
#include <map>

#include <gtest/gtest.h>

using pallframe::simulation::describeNamespaceError;

namespace {

constexpr const char* kClone = "/proc/sys/kernel/unprivileged_userns_clone";
constexpr const char* kMost = "/proc/sys/user/max_user_namespaces";
constexpr const char* kAppArmor = "/proc/sys/kernel/apparmor_restrict_unprivileged_userns";

std::string textWith(const std::map<std::string, std::string>& files) {
    return describeNamespaceError(EPERM, [&files](const char* file) {
        const auto found = files.find(file);
        return found == files.end() ? std::string() : found->second;
    });
}

TEST(Refusal, NamesTheSwitchThatForbidsIt) {
    const std::string begin =
        "no namespaces for this user (Operation not permitted): run as root, or allow them with: "
        "sudo sysctl -w ";
    EXPECT_EQ(textWith({{kClone, "0"}, {kMost, "96365"}}),
              begin + "kernel.unprivileged_userns_clone=1");
    EXPECT_EQ(textWith({{kClone, "1"}, {kMost, "0"}}), begin + "user.max_user_namespaces=15000");
    EXPECT_EQ(textWith({{kMost, "96365"}, {kAppArmor, "1"}}),
              begin + "kernel.apparmor_restrict_unprivileged_userns=0");
}

TEST(Refusal, WithoutSuchASwitchOnlyRootIsLeft) {
    const std::string text =
        "no namespaces for this user (Operation not permitted): run as root; a container must be "
        "started with --privileged";
    EXPECT_EQ(textWith({}), text);
    EXPECT_EQ(textWith({{kClone, "1"}, {kMost, "96365"}, {kAppArmor, "0"}}), text);
}

TEST(Refusal, SaysWhatTheKernelSaid) {
    const auto nothing = [](const char*) { return std::string(); };
    EXPECT_NE(describeNamespaceError(ENOSPC, nothing).find("(No space left on device)"),
              std::string::npos);
}

}  // namespace
