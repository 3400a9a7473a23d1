// Each step of a save made to fail: what it gives, what it logs, and what a reader then finds.

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <map>

#include <gtest/gtest.h>

#include "sample_container.h"
#include "support/captured_log.h"
#include "support/exhausted_memory.h"
#include "support/file_calls.h"
#include "support/file_size_limit.h"
#include "support/no_free_descriptors.h"
#include "support/temporary_directory.h"

namespace model {

namespace {

using Line = CapturedLog::Line;
using Lines = std::vector<Line>;
using Files = std::map<std::string, std::string>;

constexpr int kUserCritical = 8 + 2;
constexpr int kError = 3;

class Rotation : public testing::Test {
  protected:
    // Writes the text by the container's own steps and gives their result.
    int written(const std::string& text, bool keepOld = false) {
        container_.text = text;
        const util::UniqueJSON root = util::jsonObject();
        util::addMember(root.get(), "version", util::jsonNumber(0));
        util::addMember(root.get(), "sample", container_.toJSON());
        return container_.writeFile(path_, root.get(), keepOld);
    }

    // What a fresh container finds, its log lines aside.
    std::string found() {
        SampleContainer reader(directory_.path("file"));
        const CapturedLog ignored;
        return reader.load() == 0 ? reader.text : "nothing";
    }

    void furnish(const Files& files) const {
        for (const auto& [name, bytes] : files) {
            directory_.write(name, bytes);
        }
    }

    // A save before this one left a file behind.
    void begin() {
        written("before");
        log_.take();
    }

    Line openFailure() const {
        return {kError, "Error - couldn't open file " + path_ + " for writing\n"};
    }
    Line writeFailure(const std::string& path, int errorNumber) const {
        return failure("write \"" + path + "\"", errorNumber);
    }
    Line renameFailure(const std::string& role, const std::string& from, const std::string& to,
                       int errorNumber) const {
        const std::string names = from + " -> " + to;
        return failure("overwrite " + role + ": rename \"" + names + "\" failed", errorNumber);
    }
    Line removeFailure(int errorNumber) const {
        return failure("remove \"" + old_ + "\"", errorNumber);
    }
    Line failure(const std::string& what, int errorNumber) const {
        return {kUserCritical,
                "sample container could not " + what + " (" + std::to_string(errorNumber) + ").\n"};
    }

    TemporaryDirectory directory_;
    CapturedLog log_;
    const std::string path_ = directory_.path("file.json");
    const std::string new_ = path_ + ".new";
    const std::string old_ = path_ + ".old";
    SampleContainer container_{directory_.path("file")};
};

FileCallWatch::Before failing(const FileCall& expected, FileAnswer answer) {
    return [=](const FileCall& call) -> std::optional<FileAnswer> {
        return call == expected ? std::optional(answer) : std::nullopt;
    };
}

TEST_F(Rotation, GivesZeroWhenAllIsInPlace) {
    begin();
    EXPECT_EQ(written("after"), 0);
    EXPECT_EQ(found(), "after");
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(Rotation, TakesItsStepsInOrder) {
    const mode_t before = umask(022);
    begin();
    std::vector<FileCall> calls;
    {
        const FileCallWatch watch({}, [&](const FileCall& call) { calls.push_back(call); });
        EXPECT_EQ(written("after"), 0);
    }
    umask(before);
    std::erase_if(calls, [](const FileCall& call) { return !changesTheDisk(call); });
    EXPECT_EQ(calls, (std::vector<FileCall>{{"create", new_, ""},
                                            {"write", new_, ""},
                                            {"sync", new_, ""},
                                            {"rename", path_, old_},
                                            {"rename", new_, path_},
                                            {"sync", directory_.path(), ""},
                                            {"unlink", old_, ""}}));
}

TEST_F(Rotation, OddStatResultIsReportedAndCountsAsExisting) {
    begin();
    const FileCallWatch watch(failing({"stat", path_, ""}, {7, EIO}));
    EXPECT_EQ(written("after", true), 0);
    EXPECT_EQ(log_.lines(), (Lines{failure("stat  \"" + path_ + "\"", EIO)}));
    EXPECT_EQ(directory_.read("file.json"), sampleFile("after"));
    EXPECT_EQ(directory_.read("file.json.old"), sampleFile("before"));
}

TEST_F(Rotation, OddStatResultIsTheOutcomeWhenTheNewFileCannotBeOpened) {
    const FileCallWatch watch([this](const FileCall& call) -> std::optional<FileAnswer> {
        if (call == FileCall{"stat", path_, ""}) {
            return FileAnswer{7, EIO};
        }
        return call.verb == "create" ? std::optional<FileAnswer>({-1, EMFILE}) : std::nullopt;
    });
    EXPECT_EQ(written("after"), 7);
    EXPECT_EQ(log_.lines(), (Lines{failure("stat  \"" + path_ + "\"", EIO), openFailure(),
                                   writeFailure(new_, EMFILE)}));
}

TEST_F(Rotation, SaveWithoutMemoryForTheTextTouchesNothing) {
    for (const Files& before : {Files{}, Files{{"file.json", sampleFile("before")}}}) {
        furnish(before);
        const util::UniqueJSON root = container_.toJSON();
        {
            const ExhaustedMemory small(256);
            const FileCallWatch watch([](const FileCall& call) -> std::optional<FileAnswer> {
                ADD_FAILURE() << call.verb << " " << call.path;
                return std::nullopt;
            });
            EXPECT_EQ(container_.writeFile(path_, root.get(), false), -1);
        }
        EXPECT_FALSE(container_.saved());
        EXPECT_EQ(log_.take(),
                  (Lines{{kUserCritical,
                          "sample container could not alloc memory to render \"" + path_ + "\".\n"},
                         {kUserCritical,
                          "sample container SAVE FAILED: could not alloc JSON object for \"" +
                              path_ + "\".\n"}}));
    }
}

TEST_F(Rotation, FirstSaveThatCannotOpenTheNewFileEndsThere) {
    const FileCallWatch watch(failing({"create", new_, ""}, {-1, ENFILE}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{openFailure(), writeFailure(new_, ENFILE)}));
    EXPECT_EQ(found(), "nothing");
}

TEST_F(Rotation, LaterSaveThatCannotOpenTheNewFileLeavesTheOldFileOnly) {
    begin();
    {
        const NoFreeDescriptors none;
        EXPECT_EQ(written("after"), -1);
    }
    EXPECT_EQ(log_.lines(), (Lines{openFailure(), renameFailure("current", new_, path_, ENOENT)}));
    EXPECT_FALSE(directory_.holds("file.json"));
    EXPECT_EQ(directory_.read("file.json.old"), sampleFile("before"));
    EXPECT_EQ(found(), "before");
}

TEST_F(Rotation, SaveAfterThatBringsTheFileBack) {
    begin();
    {
        const NoFreeDescriptors none;
        written("lost");
    }
    log_.take();
    EXPECT_EQ(written("after"), 0);
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_EQ(found(), "after");
    EXPECT_FALSE(directory_.holds("file.json.old"));
}

TEST_F(Rotation, FullDiskLeavesTheFileAsItWas) {
    begin();
    const FileCallWatch watch(failing({"write", new_, ""}, {-1, ENOSPC}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{writeFailure(new_, ENOSPC)}));
    EXPECT_EQ(directory_.files(), (Files{{"file.json", sampleFile("before")}}));
}

TEST_F(Rotation, DiskThatFillsUpWithinTheTextLeavesTheFileAsItWas) {
    begin();
    const FileSizeLimit room(50'000);
    EXPECT_EQ(written(std::string(100'000, 'x')), -1);
    EXPECT_EQ(log_.lines(), (Lines{writeFailure(new_, EFBIG)}));
    EXPECT_EQ(directory_.files(), (Files{{"file.json", sampleFile("before")}}));
}

TEST_F(Rotation, FullDiskAtTheFirstSaveLeavesNothing) {
    const FileCallWatch watch(failing({"write", new_, ""}, {-1, ENOSPC}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{writeFailure(new_, ENOSPC)}));
    EXPECT_EQ(directory_.files(), Files{});
}

TEST_F(Rotation, TextThatNoLoadWouldReadIsNotWritten) {
    begin();
    EXPECT_EQ(written(std::string(size_t{16} << 20U, 'x')), -1);
    EXPECT_EQ(log_.lines(), (Lines{writeFailure(new_, EFBIG)}));
    EXPECT_EQ(directory_.files(), (Files{{"file.json", sampleFile("before")}}));
}

TEST_F(Rotation, NewFileThatCannotBeSyncedLeavesTheFileAsItWas) {
    begin();
    const FileCallWatch watch(failing({"sync", new_, ""}, {-1, EIO}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{writeFailure(new_, EIO)}));
    EXPECT_EQ(directory_.files(), (Files{{"file.json", sampleFile("before")}}));
}

TEST_F(Rotation, NewFileThatCannotBeClosedLeavesTheFileAsItWas) {
    begin();
    const FileCallWatch watch(failing({"close", new_, ""}, {-1, EIO}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{writeFailure(new_, EIO)}));
    EXPECT_EQ(found(), "before");
}

TEST_F(Rotation, FileThatCannotBecomeTheOldOneStays) {
    begin();
    const FileCallWatch watch(failing({"rename", path_, old_}, {-1, EISDIR}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{renameFailure("prev", path_, old_, EISDIR)}));
    EXPECT_EQ(found(), "before");
    EXPECT_EQ(directory_.read("file.json.new"), sampleFile("after"));
}

TEST_F(Rotation, DirectoryInThePlaceOfTheOldFileMakesRoom) {
    begin();
    std::filesystem::create_directory(old_);
    EXPECT_EQ(written("second"), 0);
    EXPECT_EQ(found(), "second");
    std::filesystem::create_directory(old_);
    directory_.write("file.json.old/occupied", "by others");
    EXPECT_EQ(written("third"), 0);
    EXPECT_EQ(found(), "third");
    EXPECT_EQ(directory_.read("file.json.old.bad/occupied"), "by others");
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(Rotation, NewFileThatCannotTakeThePlaceLeavesTheOldOne) {
    begin();
    const FileCallWatch watch(failing({"rename", new_, path_}, {-1, EIO}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{renameFailure("current", new_, path_, EIO)}));
    EXPECT_FALSE(directory_.holds("file.json"));
    EXPECT_EQ(found(), "before");
}

TEST_F(Rotation, DirectoryThatCannotBeSyncedKeepsTheOldFile) {
    begin();
    const FileCallWatch watch(failing({"sync", directory_.path(), ""}, {-1, EIO}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{writeFailure(new_, EIO)}));
    EXPECT_EQ(found(), "after");
    EXPECT_EQ(directory_.read("file.json.old"), sampleFile("before"));
}

TEST_F(Rotation, DirectoryThatCannotBeSyncedForAKeptFileEndsTheSave) {
    directory_.write("file.json", "no JSON");
    container_.load();
    log_.take();
    const FileCallWatch watch(failing({"sync", directory_.path(), ""}, {-1, EIO}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{writeFailure(new_, EIO)}));
    EXPECT_EQ(directory_.read("file.json.bad"), "no JSON");
}

TEST_F(Rotation, WorkingDirectoryIsSyncedForAFileThatNamesNone) {
    directory_.write("here.json", sampleFile("before"));
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    SampleContainer here("here");
    const FileCallWatch watch(failing({"sync", directory_.path(), ""}, {-1, EIO}));
    here.saveText("after", false);
    std::filesystem::current_path(before);
    EXPECT_EQ(log_.lines(), (Lines{failure("write \"here.json.new\"", EIO)}));
}

TEST_F(Rotation, FirstSaveThatKeepsNothingFindsNoOldFileToRemove) {
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{removeFailure(ENOENT)}));
    EXPECT_EQ(found(), "after");
}

TEST_F(Rotation, OldFileThatCannotBeRemovedStays) {
    begin();
    const FileCallWatch watch(failing({"unlink", old_, ""}, {-1, EACCES}));
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{removeFailure(EACCES)}));
    EXPECT_EQ(found(), "after");
    EXPECT_EQ(directory_.read("file.json.old"), sampleFile("before"));
}

// Made by an earlier life that was told something else: a directory in the place of the file.
TEST_F(Rotation, DirectoryInThePlaceOfTheFileBecomesTheOldOneAndCannotBeRemoved) {
    std::filesystem::create_directory(path_);
    EXPECT_EQ(written("after"), -1);
    EXPECT_EQ(log_.lines(), (Lines{removeFailure(EISDIR)}));
    EXPECT_EQ(found(), "after");
}

TEST_F(Rotation, IsSavedBeforeTheFirstSaveAndAfterOneThatWorked) {
    EXPECT_TRUE(container_.saved());
    container_.saveText("after", false);
    EXPECT_TRUE(container_.saved());
}

TEST_F(Rotation, IsNotSavedAsLongAsTheNewFileIsNotInPlace) {
    begin();
    {
        const FileCallWatch watch(failing({"sync", new_, ""}, {-1, EIO}));
        container_.saveText("after", false);
        EXPECT_FALSE(container_.saved());
    }
    container_.saveText("after", false);
    EXPECT_TRUE(container_.saved());
}

TEST_F(Rotation, IsNotSavedBeforeTheDirectoryIsSynced) {
    begin();
    const FileCallWatch watch(failing({"sync", directory_.path(), ""}, {-1, EIO}));
    container_.saveText("after", false);
    EXPECT_FALSE(container_.saved());
}

TEST_F(Rotation, IsSavedWithAnOldFileThatStays) {
    begin();
    const FileCallWatch watch(failing({"unlink", old_, ""}, {-1, EACCES}));
    container_.saveText("after", false);
    EXPECT_TRUE(container_.saved());
}

TEST_F(Rotation, RetriedSaveIsSilentAndTellsWhetherItWorked) {
    begin();
    container_.text = "after";
    {
        const FileCallWatch watch(failing({"sync", new_, ""}, {-1, EIO}));
        EXPECT_FALSE(container_.retrySave());
    }
    EXPECT_TRUE(container_.retrySave());
    EXPECT_EQ(found(), "after");
    EXPECT_TRUE(log_.lines().empty());
}

}  // namespace

}  // namespace model
