#include "frame/tree.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "temporary_tree.h"

using namespace frame;
namespace fs = std::filesystem;

namespace {

class TreeTest : public TemporaryTree {};

TEST_F(TreeTest, NamesFilesByTheirPathInTheFrame) {
    EXPECT_EQ(Tree("/some/where").path("/etc/x"), "/some/where/etc/x");
    EXPECT_EQ(Tree("/").path("/etc/x"), "/etc/x");
}

TEST(TreePath, NoPathLeadsOutOfTheTree) {
    EXPECT_EQ(Tree("/some/where").path("/../../etc/x"), "/some/where/etc/x");
}

TEST_F(TreeTest, ReplaceMakesDirectoriesAndSetsTheMode) {
    tree.replace("/vantor/etc/deep/x", "one", 0755);
    EXPECT_EQ(tree.read("/vantor/etc/deep/x"), "one");
    struct stat state {};
    ASSERT_EQ(::stat(tree.path("/vantor/etc/deep/x").c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777, 0755U);
}

TEST_F(TreeTest, ReplaceLeavesNothingBesideTheFile) {
    tree.replace("/a/x", "one");
    tree.replace("/a/x", "two");
    EXPECT_EQ(tree.read("/a/x"), "two");
    EXPECT_EQ(std::distance(fs::directory_iterator(tree.path("/a")), {}), 1);
    EXPECT_TRUE(fs::is_empty(tree.path("/run/frame")));
}

TEST_F(TreeTest, AFailedReplaceThrowsAndLeavesNoDraft) {
    tree.makeDirectory("/a/x");
    EXPECT_THROW(tree.replace("/a/x", "text"), std::system_error);
    EXPECT_TRUE(fs::is_empty(tree.path("/run/frame")));
}

TEST_F(TreeTest, AReaderNeverFindsAPart) {
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

TEST_F(TreeTest, AMissingFileReadsEmpty) {
    EXPECT_FALSE(tree.exists("/nothing"));
    EXPECT_EQ(tree.read("/nothing"), "");
    EXPECT_NO_THROW(tree.remove("/nothing"));
}

TEST_F(TreeTest, WhatCannotBeReadReadsEmpty) {
    tree.makeDirectory("/directory");
    EXPECT_EQ(tree.read("/directory"), "");
}

TEST_F(TreeTest, ADanglingLinkExists) {
    fs::create_symlink("/nowhere/at/all", tree.path("/link"));
    EXPECT_TRUE(tree.exists("/link"));
}

TEST_F(TreeTest, AppendsLines) {
    tree.append("/log", "one\n");
    tree.append("/log", "two\n");
    EXPECT_EQ(tree.read("/log"), "one\ntwo\n");
    EXPECT_THROW(tree.append("/no/such/directory/log", "x"), std::system_error);
}

TEST_F(TreeTest, AHiddenFileIsMissingAndComesBackWhole) {
    tree.replace("/tmp/eeprom", "PRODUCT=KELI\n");
    tree.hide("/tmp/eeprom");
    EXPECT_FALSE(tree.exists("/tmp/eeprom"));
    EXPECT_EQ(tree.hiddenFiles(), std::vector<std::string>{"/tmp/eeprom"});
    tree.hide("/tmp/eeprom");
    tree.show("/tmp/eeprom");
    EXPECT_EQ(tree.read("/tmp/eeprom"), "PRODUCT=KELI\n");
    EXPECT_TRUE(tree.hiddenFiles().empty());
}

TEST_F(TreeTest, ShowingWhatIsThereKeepsIt) {
    tree.replace("/x", "text");
    tree.show("/x");
    EXPECT_EQ(tree.read("/x"), "text");
}

TEST_F(TreeTest, ShowingWhatNeverWasMakesItEmpty) {
    tree.show("/vantor/etc/ambrixDisabled");
    EXPECT_TRUE(tree.exists("/vantor/etc/ambrixDisabled"));
    EXPECT_EQ(tree.read("/vantor/etc/ambrixDisabled"), "");
}

TEST_F(TreeTest, HidingWhatIsNotThereIsNoError) {
    EXPECT_NO_THROW(tree.hide("/nothing"));
    EXPECT_TRUE(tree.hiddenFiles().empty());
}

TEST_F(TreeTest, KnowsWhereAHiddenFileIsKept) {
    tree.replace("/x", "old");
    EXPECT_EQ(tree.whereKept("/x"), "/x");
    tree.hide("/x");
    tree.replace(tree.whereKept("/x"), "new");
    tree.show("/x");
    EXPECT_EQ(tree.read("/x"), "new");
}

TEST_F(TreeTest, ALockIsHeldByOneAtATime) {
    tree.makeDirectory("/run/frame");
    const Descriptor other(::open(tree.path("/run/frame/lock").c_str(), O_RDWR | O_CREAT, 0644));
    {
        const TreeLock lock(tree);
        EXPECT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), -1);
        EXPECT_EQ(errno, EWOULDBLOCK);
    }
    EXPECT_EQ(::flock(other.get(), LOCK_EX | LOCK_NB), 0);
}

}  // namespace
