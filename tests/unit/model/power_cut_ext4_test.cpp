// The power is cut during and after a save on a real file system.
//
// An ext4 image is mounted over a loop device, and copied while a save goes on: in the copy is what
// the file system had sent to its disk by then, and nothing of what it still held in memory. The
// copy is mounted, its journal replayed, and a container loads from it. A disk that reorders its
// own writes cannot be shown this way; the replay of recorded calls covers that.
//
// How much the file system has sent depends on what else happens on it, so that each moment is also
// looked at just after another program's sync made it write down all names, though not the bytes
// of files that nobody synced.

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "sample_container.h"
#include "support/captured_log.h"
#include "support/file_calls.h"
#include "support/temporary_directory.h"
#include "util/files.h"

namespace model {

namespace {

bool runs(const std::string& command) {
    const std::string quiet = "PATH=$PATH:/usr/sbin:/sbin; " + command + " >/dev/null 2>&1";
    return std::system(quiet.c_str()) == 0;
}

// Mounts of this process are its own, and gone with it.
bool haveOwnMounts() {
    return unshare(CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

// An image mounted at a directory, as unforgiving as ext4 can be: it neither commits by the clock
// nor guesses from a rename that a file's bytes should go to the disk first.
class MountedImage {
  public:
    MountedImage(const std::string& image, std::string directory)
        : directory_(std::move(directory)) {
        std::filesystem::create_directories(directory_);
        mounted_ =
            runs("mount -t ext4 -o loop,noauto_da_alloc,commit=600 " + image + " " + directory_);
    }
    ~MountedImage() {
        if (mounted_) {
            umount2(directory_.c_str(), MNT_DETACH);
        }
    }
    MountedImage(const MountedImage&) = delete;
    MountedImage& operator=(const MountedImage&) = delete;

    bool mounted() const { return mounted_; }

  private:
    std::string directory_;
    bool mounted_ = false;
};

// A copy of one moment: two readings that agree show that nothing was written during the first.
void copyOneMoment(const std::string& image, const std::string& copy) {
    const size_t all = size_t{1} << 30U;
    std::string bytes = util::readContents(image, all).bytes;
    for (std::string again; (again = util::readContents(image, all).bytes) != bytes;) {
        bytes = std::move(again);
    }
    std::ofstream(copy, std::ios::binary) << bytes;
}

// A disk in memory does not keep the test waiting for the machine's own.
std::filesystem::path memory() {
    const std::filesystem::path shared = "/dev/shm";
    return access(shared.c_str(), W_OK) == 0 ? shared : std::filesystem::temp_directory_path();
}

// A text of several blocks that can be told from every other.
std::string textOf(int number) {
    return std::string(5000, static_cast<char>('a' + number % 26));
}

class PowerCutOnExt4 : public testing::Test {
  protected:
    void SetUp() override {
        if (!haveOwnMounts()) {
            GTEST_SKIP() << "may not mount here; PowerCut replays recorded saves instead";
        }
        if (!runs("truncate -s 4M " + image_) ||
            !runs("mkfs.ext4 -q -F -b 1024 -J size=1 " + image_)) {
            GTEST_SKIP() << "no ext4 tools here; PowerCut replays recorded saves instead";
        }
        disk_.emplace(image_, directory_.path("disk"));
        if (!disk_->mounted()) {
            GTEST_SKIP() << "no loop devices here; PowerCut replays recorded saves instead";
        }
        std::filesystem::create_directory(directory_.path("disk/etc"));
        container_.saveText(textOf(0), true);
        syncEverything();
    }

    // What a container finds when the power goes now: the number of a text, or -1 for none.
    int found(int number) {
        copyOneMoment(image_, directory_.path("copy"));
        const MountedImage copy(directory_.path("copy"), directory_.path("cut"));
        EXPECT_TRUE(copy.mounted());
        const CapturedLog ignored;
        SampleContainer reader(directory_.path("cut/etc/file"));
        if (reader.load() != 0) {
            return -1;
        }
        return reader.text == textOf(number)       ? number
               : reader.text == textOf(number - 1) ? number - 1
                                                   : -1;
    }

    void syncEverything() {
        const util::UniqueFile directory = util::openFile(directory_.path("disk"), "r");
        ASSERT_TRUE(directory);
        ASSERT_EQ(syncfs(fileno(directory.get())), 0);
    }

    // Another program syncs a file of its own.
    void commitJournal() {
        const std::string path = directory_.path("disk/other");
        const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        EXPECT_EQ(write(file, "x", 1), 1);
        EXPECT_EQ(fsync(file), 0);
        close(file);
    }

    // Saves the text of that number and looks after each of its calls. Gives the calls.
    std::vector<FileCall> saveLookingAlways(int number, bool keepOld) {
        std::vector<FileCall> calls;
        const FileCallWatch watch({}, [&](const FileCall& call) {
            calls.push_back(call);
            EXPECT_NE(found(number), -1) << "cut after " << call.verb << " " << call.path;
        });
        container_.saveText(textOf(number), keepOld);
        return calls;
    }

    // The same, looking once, with all names written down just after that call.
    void saveLookingAfter(const FileCall& moment, int number, bool keepOld) {
        bool looked = false;
        const FileCallWatch watch({}, [&](const FileCall& call) {
            if (call == moment) {
                commitJournal();
                EXPECT_NE(found(number), -1) << "cut after " << call.verb << " " << call.path;
                looked = true;
            }
        });
        container_.saveText(textOf(number), keepOld);
        EXPECT_TRUE(looked) << moment.verb << " " << moment.path;
    }

    TemporaryDirectory directory_{memory()};
    const std::string image_ = directory_.path("image");
    std::optional<MountedImage> disk_;
    SampleContainer container_{directory_.path("disk/etc/file")};
};

TEST_F(PowerCutOnExt4, LeavesTheOldOrTheNewStateAtEveryMoment) {
    int number = 0;
    for (bool keepOld : {false, true}) {
        const std::vector<FileCall> calls = saveLookingAlways(++number, keepOld);
        EXPECT_EQ(found(number), number) << "after the save";
        for (const FileCall& call : calls) {
            if (changesTheDisk(call)) {
                saveLookingAfter(call, ++number, keepOld);
            }
        }
        EXPECT_EQ(found(number), number) << "after the saves";
    }
}

TEST_F(PowerCutOnExt4, LeavesTheNewStateWhenNamesAreWrittenDownAfterTheSave) {
    for (int number = 1; number <= 3; ++number) {
        container_.saveText(textOf(number), false);
        commitJournal();
        EXPECT_EQ(found(number), number);
    }
}

}  // namespace

}  // namespace model
