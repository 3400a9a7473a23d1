#include "util/file_replacement.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/file_calls.h"
#include "support/file_size_limit.h"
#include "support/temporary_directory.h"

namespace util {

namespace {

using Files = std::map<std::string, std::string>;

// The errors that open, fstat, write, fsync, close, rename and unlink have in their manual pages.
constexpr int kErrors[] = {EACCES, EBADF,     EBUSY,  EDQUOT, EEXIST, EFBIG,   EINTR,
                           EINVAL, EIO,       EISDIR, ELOOP,  EMFILE, EMLINK,  ENAMETOOLONG,
                           ENFILE, ENODEV,    ENOENT, ENOMEM, ENOSPC, ENOTDIR, ENOTEMPTY,
                           ENXIO,  EOVERFLOW, EPERM,  EPIPE,  EROFS,  ETXTBSY, EXDEV};

class FileReplacement : public testing::Test {
  protected:
    static mode_t modeOf(const std::string& path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }

    void link(const std::string& target, const std::string& name) const {
        std::filesystem::create_symlink(target, directory_.path(name));
    }

    // Two links that lead to each other.
    void linkInACircle(const std::string& name) const {
        link("other-link", name);
        link(name, "other-link");
    }

    TemporaryDirectory directory_;
    const std::string path_ = directory_.path("file");
};

TEST_F(FileReplacement, PutsTheNewBytesInThePlaceOfTheOld) {
    directory_.write("file", "a longer text than the new one");
    EXPECT_EQ(replaceFile(path_, std::string("a\n\0b", 4)), WriteFailure::none);
    EXPECT_EQ(directory_.files(), (Files{{"file", std::string("a\n\0b", 4)}}));
}

TEST_F(FileReplacement, LeavesTheOldFileToWhoHasItOpen) {
    directory_.write("file", "old");
    std::ifstream reader(path_);
    ASSERT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST_F(FileReplacement, MakesAMissingFileForAllToReadWhateverTheMask) {
    for (const mode_t mask : {0U, 022U, 077U}) {
        unlink(path_.c_str());
        const mode_t before = umask(mask);
        EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
        umask(before);
        EXPECT_EQ(modeOf(path_), 0644U) << mask;
    }
}

TEST_F(FileReplacement, KeepsTheMode) {
    for (const mode_t mode : {0600U, 0664U, 02640U}) {
        directory_.write("file", "old");
        ASSERT_EQ(chmod(path_.c_str(), mode), 0);
        EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
        EXPECT_EQ(modeOf(path_), mode);
        unlink(path_.c_str());
    }
}

TEST_F(FileReplacement, ReplacesAReadOnlyFileOnlyForRoot) {
    const bool isRoot = geteuid() == 0;
    directory_.write("file", "old");
    ASSERT_EQ(chmod(path_.c_str(), 0444), 0);
    EXPECT_EQ(replaceFile(path_, "new"), isRoot ? WriteFailure::none : WriteFailure::open);
    EXPECT_EQ(directory_.read("file"), isRoot ? "new" : "old");
    EXPECT_EQ(modeOf(path_), 0444U);
}

TEST_F(FileReplacement, KeepsTheOwner) {
    directory_.write("file", "old");
    if (chown(path_.c_str(), 4321, 1234) != 0) {
        GTEST_SKIP() << "may not give files away here";
    }
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    struct stat status {};
    ASSERT_EQ(stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 4321U);
    EXPECT_EQ(status.st_gid, 1234U);
}

TEST_F(FileReplacement, GoesOnWhereOwnerAndModeCannotBeKept) {
    directory_.write("file", "old");
    ASSERT_EQ(chmod(path_.c_str(), 0600), 0);
    const bool isForeign = chown(path_.c_str(), 4321, 1234) == 0;
    std::vector<std::string> failed;
    const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
        if (call.verb != "owner" && call.verb != "mode") {
            return std::nullopt;
        }
        failed.push_back(call.verb);
        return FileAnswer{-1, EPERM};
    });
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.read("file"), "new");
    EXPECT_EQ(failed, isForeign ? (std::vector<std::string>{"owner", "mode"})
                                : std::vector<std::string>{"mode"});
}

TEST_F(FileReplacement, SetsTheModeAgainAfterANewOwner) {
    directory_.write("file", "old");
    if (chown(path_.c_str(), 4321, 1234) != 0) {
        GTEST_SKIP() << "may not give files away here";
    }
    ASSERT_EQ(chmod(path_.c_str(), 0644), 0);
    int modes = 0;
    const FileCallWatch watch({}, [&](const FileCall& call) { modes += call.verb == "mode"; });
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(modes, 1);
}

TEST_F(FileReplacement, ReplacesWhatALinkLeadsTo) {
    std::filesystem::create_directory(directory_.path("elsewhere"));
    directory_.write("elsewhere/target", "old");
    link("elsewhere/link", "file");
    link("target", "elsewhere/link");
    EXPECT_EQ(resolveLinks(path_), directory_.path("elsewhere/target"));
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.read("elsewhere/target"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(path_));
    EXPECT_TRUE(std::filesystem::is_symlink(directory_.path("elsewhere/link")));
}

TEST_F(FileReplacement, MakesWhatALinkLeadsToInVain) {
    link(directory_.path("target"), "file");
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.read("target"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(path_));
}

TEST_F(FileReplacement, RefusesWhatIsNoFile) {
    std::filesystem::create_directory(directory_.path("directory"));
    ASSERT_EQ(mkfifo(directory_.path("pipe").c_str(), 0600), 0);
    link("/dev/null", "device");
    linkInACircle("circle");
    const std::map<std::string, int> expected = {
        {"directory", EISDIR}, {"pipe", EINVAL}, {"device", EINVAL}, {"circle", ELOOP}};
    for (const auto& [name, errorNumber] : expected) {
        EXPECT_EQ(replaceFile(directory_.path(name), "new"), WriteFailure::open) << name;
        EXPECT_EQ(errno, errorNumber) << name;
        EXPECT_FALSE(directory_.holds(name + ".new"));
    }
    EXPECT_FALSE(std::filesystem::exists("/dev/null.new"));
}

TEST_F(FileReplacement, EndOfLinksIsThePathItselfWhereTheyLeadToNoFile) {
    link("/dev/null", "device");
    link("/dev", "directory");
    linkInACircle("circle");
    for (const char* name : {"device", "directory", "circle", "absent"}) {
        EXPECT_EQ(resolveLinks(directory_.path(name)), directory_.path(name));
    }
}

TEST_F(FileReplacement, TakesTheWayFromALeftOverFile) {
    directory_.write("file.new", std::string(5000, 'x'));
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.files(), (Files{{"file", "new"}}));
}

TEST_F(FileReplacement, DoesNotWriteThroughALinkInTheWay) {
    directory_.write("another", "another's");
    link("another", "file.new");
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.files(), (Files{{"another", "another's"}, {"file", "new"}}));
    EXPECT_FALSE(std::filesystem::is_symlink(path_));
}

TEST_F(FileReplacement, DoesNotWaitForAPipeInTheWay) {
    ASSERT_EQ(mkfifo(directory_.path("file.new").c_str(), 0600), 0);
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.files(), (Files{{"file", "new"}}));
}

TEST_F(FileReplacement, GetsByACircleOfLinksInTheWay) {
    linkInACircle("file.new");
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.read("file"), "new");
}

TEST_F(FileReplacement, GetsByAnEmptyDirectoryInTheWay) {
    std::filesystem::create_directory(directory_.path("file.new"));
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.files(), (Files{{"file", "new"}}));
}

TEST_F(FileReplacement, MovesADirectoryThatHoldsSomethingOutOfTheWay) {
    std::filesystem::create_directory(directory_.path("file.new"));
    directory_.write("file.new/something", "kept");
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.read("file"), "new");
    EXPECT_EQ(directory_.read("file.new.bad/something"), "kept");
    EXPECT_FALSE(directory_.holds("file.new"));
}

TEST_F(FileReplacement, DiskThatFillsUpLeavesTheOldFile) {
    directory_.write("file", "old");
    const FileSizeLimit room(1000);
    EXPECT_EQ(replaceFile(path_, std::string(1001, 'x')), WriteFailure::write);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(directory_.files(), (Files{{"file", "old"}}));
}

TEST_F(FileReplacement, GoesOnAfterAnInterruptedWrite) {
    int writes = 0;
    const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
        const bool interrupted = call.verb == "write" && ++writes == 1;
        return interrupted ? std::optional<FileAnswer>({-1, EINTR}) : std::nullopt;
    });
    EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    EXPECT_EQ(directory_.read("file"), "new");
    EXPECT_EQ(writes, 2);
}

TEST_F(FileReplacement, SyncsTheBytesBeforeTheNameAndTheNameAfterwards) {
    std::vector<FileCall> calls;
    {
        const FileCallWatch watch({}, [&](const FileCall& call) { calls.push_back(call); });
        EXPECT_EQ(replaceFile(path_, "new"), WriteFailure::none);
    }
    std::erase_if(calls, [](const FileCall& call) {
        return call.verb != "write" && call.verb != "sync" && call.verb != "rename";
    });
    const std::string draft = path_ + ".new";
    EXPECT_EQ(calls, (std::vector<FileCall>{{"write", draft, ""},
                                            {"sync", draft, ""},
                                            {"rename", draft, path_},
                                            {"sync", directory_.path(), ""}}));
}

// Whatever call fails, with whatever error: the old text or the new one, whole, and nothing else.
TEST_F(FileReplacement, LeavesTheOldOrTheNewFileWhateverFails) {
    for (const int errorNumber : kErrors) {
        bool reached = true;
        for (int failing = 0; reached; ++failing) {
            directory_.write("file", "old");
            int calls = 0;
            WriteFailure failure = WriteFailure::none;
            {
                const FileCallWatch watch([&](const FileCall&) -> std::optional<FileAnswer> {
                    const bool fails = calls++ == failing;
                    return fails ? std::optional<FileAnswer>({-1, errorNumber}) : std::nullopt;
                });
                failure = replaceFile(path_, "new");
            }
            reached = calls > failing;
            const bool replaced =
                failure == WriteFailure::none || failure == WriteFailure::syncDirectory;
            EXPECT_EQ(directory_.files(), (Files{{"file", replaced ? "new" : "old"}}))
                << "call " << failing << ", " << std::strerror(errorNumber);
        }
    }
}

TEST(SyncParentDirectory, TellsWhyItFailed) {
    EXPECT_TRUE(syncParentDirectory("/tmp/file"));
    EXPECT_TRUE(syncParentDirectory("file"));
    EXPECT_FALSE(syncParentDirectory("/nowhere/file"));
    EXPECT_EQ(errno, ENOENT);
}

}  // namespace

}  // namespace util
