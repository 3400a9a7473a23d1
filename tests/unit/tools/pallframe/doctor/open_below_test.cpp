#include "pallframe/doctor/open_below.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"

using pallframe::doctor::openBelow;
using util::UniqueDescriptor;

namespace {

// What an attempt to open a path found: the file, or the error.
struct Found {
    dev_t device = 0;
    ino_t file = 0;
    int error = 0;
    bool operator==(const Found&) const = default;
};

void PrintTo(const Found& found, std::ostream* out) {
    *out << "file " << found.file << " error " << found.error;
}

Found identify(int descriptor) {
    struct stat status {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0) {
        return {0, 0, errno};
    }
    return {status.st_dev, status.st_ino, 0};
}

class OpenBelow : public testing::Test {
  protected:
    OpenBelow() {
        std::filesystem::create_directories(outside_.path("root/etc/deep"));
        for (const char* path :
             {"secret", "root/etc/file", "root/etc/deep/file", "root/secretless"}) {
            std::ofstream(outside_.path(path)) << path;
        }
        link("etc/file", "root/relative");
        link("/etc/file", "root/absolute");
        link("../../../../secret", "root/etc/climbs");
        link("/../secret", "root/etc/climbsFromTheRoot");
        link("/etc", "root/directory");
        link("../..", "root/etc/deep/back");
        link("/", "root/etc/top");
        link("missing", "root/dangles");
        link("loop", "root/loop");
        for (int number = 1; number <= 41; ++number) {
            link(number == 1 ? "etc/file" : "chain" + std::to_string(number - 1),
                 "root/chain" + std::to_string(number));
        }
        root_ = UniqueDescriptor(
            ::open(outside_.path("root").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }

    void link(const std::string& target, const std::string& path) const {
        std::filesystem::create_symlink(target, outside_.path(path));
    }

    Found find(const std::string& path, int flags = O_RDONLY) const {
        return identify(openBelow(root_, path, flags).get());
    }

    // What is at a path outside of the root's own view.
    Found at(const std::string& path) const {
        const UniqueDescriptor opened(
            ::open(outside_.path(path).c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        return identify(opened.get());
    }

    static Found failedWith(int error) { return {0, 0, error}; }

    const TemporaryDirectory outside_;
    UniqueDescriptor root_;
};

TEST_F(OpenBelow, FollowsLinksFromTheRootGiven) {
    EXPECT_EQ(find("/etc/file"), at("root/etc/file"));
    EXPECT_EQ(find("relative"), at("root/etc/file"));
    EXPECT_EQ(find("/absolute"), at("root/etc/file"));
    EXPECT_EQ(find("/directory/deep/file"), at("root/etc/deep/file"));
    EXPECT_EQ(find("/etc/deep/back/etc/top/relative"), at("root/etc/file"));
}

TEST_F(OpenBelow, LeavesTheRootNeitherByNamesNorByLinks) {
    EXPECT_EQ(find("/../secret"), failedWith(ENOENT));
    EXPECT_EQ(find("/etc/climbs"), failedWith(ENOENT));
    EXPECT_EQ(find("/etc/climbsFromTheRoot"), failedWith(ENOENT));
    EXPECT_EQ(find("/../../..", O_PATH), at("root"));
}

TEST_F(OpenBelow, OpensALinkItselfIfAsked) {
    EXPECT_EQ(find("/relative", O_PATH | O_NOFOLLOW), at("root/relative"));
    EXPECT_EQ(find("/directory/file", O_PATH | O_NOFOLLOW), at("root/etc/file"));
}

TEST_F(OpenBelow, SaysWhyThereIsNothing) {
    EXPECT_EQ(find("/dangles"), failedWith(ENOENT));
    EXPECT_EQ(find("/etc/file/more"), failedWith(ENOTDIR));
    EXPECT_EQ(find("/etc/file", O_PATH | O_DIRECTORY), failedWith(ENOTDIR));
}

TEST_F(OpenBelow, FollowsFortyLinksAndNoMore) {
    EXPECT_EQ(find("/chain40"), at("root/etc/file"));
    EXPECT_EQ(find("/chain41"), failedWith(ELOOP));
    EXPECT_EQ(find("/loop"), failedWith(ELOOP));
}

TEST_F(OpenBelow, FindsWhatTheKernelFinds) {
    for (const char* path : {"/",
                             ".",
                             "..",
                             "etc",
                             "/etc//file",
                             "/./etc/./file",
                             "/etc/../etc/file",
                             "/etc/deep/../file",
                             "relative",
                             "absolute",
                             "directory",
                             "directory/..",
                             "etc/deep/back",
                             "etc/top/..",
                             "etc/climbs",
                             "etc/climbsFromTheRoot",
                             "dangles",
                             "dangles/file",
                             "loop",
                             "loop/file",
                             "chain40",
                             "chain41",
                             "etc/file/..",
                             "secretless",
                             "missing/file"}) {
        for (const int flags : {O_RDONLY, O_PATH, O_PATH | O_NOFOLLOW, O_PATH | O_DIRECTORY}) {
            open_how how{};
            how.flags = static_cast<__u64>(flags | O_CLOEXEC);
            how.resolve = RESOLVE_IN_ROOT;
            const UniqueDescriptor opened(
                static_cast<int>(::syscall(SYS_openat2, root_.get(), path, &how, sizeof how)));
            if (!opened && errno == ENOSYS) {
                GTEST_SKIP() << "the kernel has no openat2";
            }
            EXPECT_EQ(find(path, flags), identify(opened.get())) << path << " flags " << flags;
        }
    }
}

}  // namespace
