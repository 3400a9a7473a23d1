#include "soak_lib/footprint.h"

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
    const size_t before = readFootprint("/proc/self").descriptors;
    const int opened = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(readFootprint("/proc/self").descriptors, before + 1);
    ::close(opened);
}

TEST(Footprint, TellsMemoryAndThreads) {
    const Footprint own = readFootprint("/proc/self");
    EXPECT_GT(own.residentKiB, own.anonymousKiB);
    EXPECT_GT(own.anonymousKiB, 0U);
    EXPECT_EQ(own.threads, 1U);
}

TEST(Footprint, FindsChildrenAndAmongThemZombies) {
    const std::string own = "/proc/" + std::to_string(::getpid());
    EXPECT_THAT(listChildren(own), IsEmpty());
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(0);
    }
    siginfo_t ended{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_THAT(listChildren(own), Contains(HasSubstr("Z (zombie)")));
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_THAT(listChildren(own), IsEmpty());
}

TEST(Footprint, GrowthThatIsNotAllowedFails) {
    const Footprint start{4000, 400, 13, 2};
    const auto failures = [&start](const Footprint& end) {
        Report report;
        reportGrowth(report, "daemon", start, end, 256);
        const std::string text = report.text();
        return text.substr(text.rfind(" |\n") + 3);
    };
    EXPECT_EQ(failures({9000, 656, 12, 1}), "");
    EXPECT_EQ(failures({4000, 657, 13, 2}), "FAILED: daemon: memory grew\n");
    EXPECT_EQ(failures({4000, 400, 14, 2}), "FAILED: daemon: descriptors were left open\n");
    EXPECT_EQ(failures({4000, 400, 13, 3}), "FAILED: daemon: threads were left\n");
}

}  // namespace
}  // namespace soak
