#include "pallframe/simulation/frame_root.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "temporary_frame.h"

using namespace pallframe::simulation;
namespace fs = std::filesystem;

namespace {

class FrameRootTest : public TemporaryFrame {};

TEST_F(FrameRootTest, NamesFilesByTheirPathInTheFrame) {
    EXPECT_EQ(FrameRoot("/some/where").path("/etc/x"), "/some/where/etc/x");
    EXPECT_EQ(FrameRoot("/").path("/etc/x"), "/etc/x");
}

TEST(FrameRootPath, NoPathLeadsOutOfTheTree) {
    EXPECT_EQ(FrameRoot("/some/where").path("/../../etc/x"), "/some/where/etc/x");
}

TEST_F(FrameRootTest, ReplaceMakesDirectoriesAndSetsTheMode) {
    tree.replace("/vantor/etc/deep/x", "one", 0755);
    EXPECT_EQ(tree.read("/vantor/etc/deep/x"), "one");
    struct stat state {};
    ASSERT_EQ(::stat(tree.path("/vantor/etc/deep/x").c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777, 0755U);
}

TEST_F(FrameRootTest, ReplaceLeavesNothingBesideTheFile) {
    tree.replace("/a/x", "one");
    tree.replace("/a/x", "two");
    EXPECT_EQ(tree.read("/a/x"), "two");
    EXPECT_EQ(std::distance(fs::directory_iterator(tree.path("/a")), {}), 1);
    EXPECT_TRUE(fs::is_empty(tree.path("/run/frame")));
}

TEST_F(FrameRootTest, AFailedReplaceThrowsAndLeavesNoDraft) {
    tree.makeDirectory("/a/x");
    EXPECT_THROW(tree.replace("/a/x", "text"), std::system_error);
    EXPECT_TRUE(fs::is_empty(tree.path("/run/frame")));
}

TEST_F(FrameRootTest, AReaderNeverFindsAPart) {
    const std::string one(100'000, '1');
    const std::string two(100'000, '2');
    tree.replace("/x", one);
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int i = 0; i < 200; ++i) {
            tree.replace("/x", i % 2 == 0 ? two : one);
        }
        done = true;
    });
    while (!done) {
        const std::string text = tree.read("/x");
        EXPECT_TRUE(text == one || text == two) << text.size();
    }
    writer.join();
}

TEST_F(FrameRootTest, AMissingFileReadsEmpty) {
    EXPECT_FALSE(tree.exists("/nothing"));
    EXPECT_EQ(tree.read("/nothing"), "");
    EXPECT_NO_THROW(tree.remove("/nothing"));
}

TEST_F(FrameRootTest, WhatCannotBeReadReadsEmpty) {
    tree.makeDirectory("/directory");
    EXPECT_EQ(tree.read("/directory"), "");
}

TEST_F(FrameRootTest, ADanglingLinkExists) {
    fs::create_symlink("/nowhere/at/all", tree.path("/link"));
    EXPECT_TRUE(tree.exists("/link"));
}

TEST_F(FrameRootTest, AppendsLines) {
    tree.append("/log", "one\n");
    tree.append("/log", "two\n");
    EXPECT_EQ(tree.read("/log"), "one\ntwo\n");
    EXPECT_THROW(tree.append("/no/such/directory/log", "x"), std::system_error);
}

TEST_F(FrameRootTest, AHiddenFileIsMissingAndComesBackWhole) {
    tree.replace("/tmp/eeprom", "PRODUCT=KELI\n");
    tree.setAside("/tmp/eeprom");
    EXPECT_FALSE(tree.exists("/tmp/eeprom"));
    EXPECT_EQ(tree.filesSetAside(), std::vector<std::string>{"/tmp/eeprom"});
    tree.setAside("/tmp/eeprom");
    tree.restore("/tmp/eeprom");
    EXPECT_EQ(tree.read("/tmp/eeprom"), "PRODUCT=KELI\n");
    EXPECT_TRUE(tree.filesSetAside().empty());
}

TEST_F(FrameRootTest, ShowingWhatIsThereKeepsIt) {
    tree.replace("/x", "text");
    tree.restore("/x");
    EXPECT_EQ(tree.read("/x"), "text");
}

TEST_F(FrameRootTest, ShowingWhatNeverWasMakesItEmpty) {
    tree.restore("/vantor/etc/ambrixDisabled");
    EXPECT_TRUE(tree.exists("/vantor/etc/ambrixDisabled"));
    EXPECT_EQ(tree.read("/vantor/etc/ambrixDisabled"), "");
}

TEST_F(FrameRootTest, HidingWhatIsNotThereIsNoError) {
    EXPECT_NO_THROW(tree.setAside("/nothing"));
    EXPECT_TRUE(tree.filesSetAside().empty());
}

TEST_F(FrameRootTest, KnowsWhereAHiddenFileIsKept) {
    tree.replace("/x", "old");
    EXPECT_EQ(tree.whereKept("/x"), "/x");
    tree.setAside("/x");
    tree.replace(tree.whereKept("/x"), "new");
    tree.restore("/x");
    EXPECT_EQ(tree.read("/x"), "new");
}

TEST_F(FrameRootTest, ALockIsHeldByOneAtATime) {
    tree.makeDirectory("/run/frame");
    const Descriptor other(::open(tree.path("/run/frame/lock").c_str(), O_RDWR | O_CREAT, 0644));
    {
        const FrameLock lock(tree);
        EXPECT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), -1);
        EXPECT_EQ(errno, EWOULDBLOCK);
    }
    EXPECT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
}

}  // namespace
