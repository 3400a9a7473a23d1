#include "pallframe/sandbox/frame_registry.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include <gmock/gmock.h>

#include "pallframe/simulation/devices.h"
#include "support/temporary_directory.h"

using namespace pallframe::sandbox;
using pallframe::simulation::FrameError;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;

const RunningFrame kSelf{::getpid(), "/some/where"};

class RegistryTest : public testing::Test {
  protected:
    std::string entry(pid_t pid) const { return "frames/" + std::to_string(pid); }

    const TemporaryDirectory directory;
    const Registry registry{directory.path("frames")};
};

std::string findProblem(const std::vector<RunningFrame>& running, std::string_view name) {
    try {
        chooseFrame(running, name);
    } catch (const FrameError& bad) {
        return bad.what();
    }
    return "none";
}

// This process has the host's root, and so looks like a frame that is still being made.
TEST_F(RegistryTest, AFrameThatIsStillMadeIsKeptAndNotShown) {
    registry.add(kSelf);
    EXPECT_THAT(registry.running(), IsEmpty());
    EXPECT_TRUE(directory.holds(entry(kSelf.pid)));
}

TEST_F(RegistryTest, AnEntryGoesWithItsFrame) {
    registry.add(kSelf);
    registry.remove(kSelf.pid);
    EXPECT_FALSE(directory.holds(entry(kSelf.pid)));
    registry.remove(kSelf.pid);
}

TEST_F(RegistryTest, AnotherProcessOfTheSameNumberIsNoFrame) {
    registry.add(kSelf);
    std::ofstream(directory.path(entry(kSelf.pid))) << "1\n\n";
    EXPECT_THAT(registry.running(), IsEmpty());
    EXPECT_FALSE(directory.holds(entry(kSelf.pid)));
}

TEST_F(RegistryTest, AnEntryWithoutAProcessIsTakenAway) {
    registry.add(kSelf);
    fs::rename(directory.path(entry(kSelf.pid)), directory.path("frames/999999999"));
    EXPECT_THAT(registry.running(), IsEmpty());
    EXPECT_FALSE(directory.holds("frames/999999999"));
}

TEST_F(RegistryTest, FilesThatAreNoEntriesAreLeftAlone) {
    registry.add(kSelf);
    for (const char* name : {"notes", "12a", "new-7", "99999999999999999999"}) {
        std::ofstream(directory.path("frames/") + name) << "x";
        EXPECT_THAT(registry.running(), IsEmpty());
        EXPECT_TRUE(directory.holds(std::string("frames/") + name));
    }
}

TEST_F(RegistryTest, OnlyTheUserCanReadAndWrite) {
    registry.add(kSelf);
    EXPECT_EQ(fs::status(directory.path("frames")).permissions(), fs::perms::owner_all);
}

// In /tmp anybody can be the first to make a directory, or a link to one.
TEST_F(RegistryTest, ADirectoryOfAnotherUserIsNotUsed) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a directory away";
    }
    fs::create_directory(directory.path("frames"));
    ASSERT_EQ(::chown(directory.path("frames").c_str(), 65534, 65534), 0);
    EXPECT_THROW(registry.add(kSelf), std::system_error);
    EXPECT_THAT(registry.running(), IsEmpty());
}

TEST_F(RegistryTest, ALinkIsNotFollowed) {
    fs::create_directory(directory.path("elsewhere"));
    fs::create_symlink(directory.path("elsewhere"), directory.path("frames"));
    EXPECT_THROW(registry.add(kSelf), std::system_error);
    EXPECT_TRUE(fs::is_empty(directory.path("elsewhere")));
}

TEST_F(RegistryTest, IsInTheUsersRuntimeDirectory) {
    ::setenv("XDG_RUNTIME_DIR", directory.path().c_str(), 1);
    Registry::ofUser().add(kSelf);
    EXPECT_TRUE(directory.holds("pallframe/" + std::to_string(kSelf.pid)));
    ::unsetenv("XDG_RUNTIME_DIR");
}

TEST_F(RegistryTest, WithoutARuntimeDirectoryItIsInTmp) {
    const fs::path inTmp = "/tmp/pallframe-" + std::to_string(::geteuid());
    const bool existed = fs::exists(inTmp);
    for (const char* unusable : {"", "/no/such/directory"}) {
        ::setenv("XDG_RUNTIME_DIR", unusable, 1);
        Registry::ofUser().add(kSelf);
        EXPECT_TRUE(fs::exists(inTmp / std::to_string(kSelf.pid)));
        Registry::ofUser().remove(kSelf.pid);
    }
    ::unsetenv("XDG_RUNTIME_DIR");
    if (!existed) {
        std::error_code another;  // another frame of this user may use the directory by now
        fs::remove(inTmp, another);
    }
}

TEST(ChooseFrame, TheOnlyOneNeedsNoName) {
    EXPECT_EQ(chooseFrame({{7, ""}}, "").pid, 7);
    EXPECT_EQ(chooseFrame({{7, ""}}, "7").pid, 7);
    EXPECT_EQ(chooseFrame({{7, ""}, {8, ""}}, "8").pid, 8);
}

TEST(ChooseFrame, SaysWhichThereAre) {
    EXPECT_EQ(findProblem({}, "7"),
              "you have no running frame; start one with pallframe run, or ./dev run");
    EXPECT_EQ(findProblem({{7, ""}, {8, ""}}, ""),
              "several frames are running; choose one: 7 (), 8 ()");
    EXPECT_EQ(findProblem({{7, ""}}, "77"), "frame '77' is not running; running: 7 ()");
}

TEST(FrameIn, IsFoundByItsDirectoryHoweverThatIsWritten) {
    const std::vector<RunningFrame> running{{7, ""}, {8, "/tmp/some/where"}};
    EXPECT_EQ(frameIn(running, "/tmp/some/where").pid, 8);
    EXPECT_EQ(frameIn(running, "/tmp/./some/../some/where/").pid, 8);
    EXPECT_THROW(frameIn(running, "/tmp/some"), FrameError);
    EXPECT_THROW(frameIn(running, ""), FrameError);
}

}  // namespace
