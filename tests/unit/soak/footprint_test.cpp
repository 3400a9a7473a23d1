#include "soaking/footprint.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace soak {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(Footprint, CountsDescriptors) {
    const size_t before = footprintOf("/proc/self").descriptors;
    const int opened = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(footprintOf("/proc/self").descriptors, before + 1);
    ::close(opened);
}

TEST(Footprint, TellsMemoryAndThreads) {
    const Footprint own = footprintOf("/proc/self");
    EXPECT_GT(own.residentKiB, own.anonymousKiB);
    EXPECT_GT(own.anonymousKiB, 0U);
    EXPECT_EQ(own.threads, 1U);
}

TEST(Footprint, FindsChildrenAndAmongThemZombies) {
    const std::string own = "/proc/" + std::to_string(::getpid());
    EXPECT_THAT(childrenOf(own), IsEmpty());
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    siginfo_t ended{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_THAT(childrenOf(own), Contains(HasSubstr("Z (zombie)")));
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_THAT(childrenOf(own), IsEmpty());
}

}  // namespace
}  // namespace soak
