// A load that finds less than it should: what it takes instead, what it keeps, and for how long it
// tries.

#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include <gtest/gtest.h>

#include "sample_container.h"
#include "support/captured_log.h"
#include "support/file_calls.h"
#include "support/temporary_directory.h"

namespace model {

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Files = std::map<std::string, std::string>;
using Line = CapturedLog::Line;
using Lines = std::vector<Line>;

constexpr int kUserCritical = 8 + 2;
constexpr int kError = 3;

// Nobody waits; the pauses are written down.
class ImpatientContainer : public SampleContainer {
  public:
    using SampleContainer::SampleContainer;
    std::vector<milliseconds> pauses;
    std::function<void()> onPause = [] {};

  private:
    void waitFor(milliseconds time) override {
        pauses.push_back(time);
        onPause();
    }
};

class ContainerLoad : public testing::Test {
  protected:
    Line invalid(const std::string& path) const {
        return {kError, "Not a valid JSON file: " + path + "\n"};
    }
    Line notOpened(const std::string& rest) const {
        return {kUserCritical, "sample container could not open \"" + path_ + "\". " + rest + "\n"};
    }

    // What a later start finds.
    std::string found() const {
        const CapturedLog ignored;
        SampleContainer reader(directory_.path("file"));
        return reader.load() == 0 ? reader.text : "nothing";
    }

    TemporaryDirectory directory_;
    CapturedLog log_;
    const std::string path_ = directory_.path("file.json");
    const std::string old_ = path_ + ".old";
    ImpatientContainer container_{directory_.path("file")};
};

constexpr const char* kGarbage[] = {"", "{\n\t\"version\":\t0,\n\t\"sample\":\t{\n\t\t\"te",
                                    "\xff\xfe\x01", " \n"};

TEST_F(ContainerLoad, TakesTheOldFileAfterTheLineForOneThatIsNoJSON) {
    for (const char* contents : kGarbage) {
        directory_.write("file.json", contents);
        directory_.write("file.json.old", sampleFile("old"));
        container_.text.clear();
        EXPECT_EQ(container_.load(), 0) << contents;
        EXPECT_EQ(container_.text, "old");
        EXPECT_EQ(log_.take(), Lines{invalid(path_)});
    }
}

TEST_F(ContainerLoad, TakesTheOldFileAfterTheLineForOneWithoutPayload) {
    directory_.write("file.json", R"({"version": 3, "SAMPLE": {"text": "a"}})");
    directory_.write("file.json.old", sampleFile("old"));
    EXPECT_EQ(container_.load(), 0);
    EXPECT_EQ(container_.text, "old");
    EXPECT_EQ(container_.version(), 0) << "that of the old file";
    EXPECT_EQ(
        log_.lines(),
        (Lines{{kError, "Error decoding JSON object, path:" + path_ + ", objectName:sample\n"}}));
}

TEST_F(ContainerLoad, TakesTheOldFileForOneWhosePayloadIsOfNoUse) {
    directory_.write("file.json", R"({"sample": {"text": 12}})");
    directory_.write("file.json.old", sampleFile("old"));
    EXPECT_EQ(container_.load(), 0);
    EXPECT_EQ(container_.text, "old");
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(ContainerLoad, TellsOfBothFilesThatAreNoJSON) {
    directory_.write("file.json", "torn");
    directory_.write("file.json.old", "torn too");
    EXPECT_EQ(container_.load(), -1);
    EXPECT_EQ(log_.lines(), (Lines{invalid(path_), invalid(old_)}));
}

TEST_F(ContainerLoad, KeepsAFileThatIsNoJSONFromBeingOverwritten) {
    for (const char* contents : kGarbage) {
        directory_.write("file.json", contents);
        EXPECT_EQ(container_.load(), -1);
        EXPECT_EQ(directory_.files()["file.json"], contents) << "until something is saved";
        log_.take();
        container_.saveText("new", false);
        EXPECT_TRUE(container_.saved());
        EXPECT_EQ(directory_.files(),
                  (Files{{"file.json", sampleFile("new")}, {"file.json.bad", contents}}));
        EXPECT_TRUE(log_.lines().empty());
        fs::remove(path_ + ".bad");
    }
}

TEST_F(ContainerLoad, KeepsOneFindBesideAnother) {
    for (const char* contents : {"first", "second", "third"}) {
        directory_.write("file.json", contents);
        container_.load();
        container_.saveText("new", false);
        EXPECT_TRUE(container_.saved());
    }
    EXPECT_EQ(directory_.files(), (Files{{"file.json", sampleFile("new")},
                                         {"file.json.bad", "third"},
                                         {"file.json.bad.2", "first"},
                                         {"file.json.bad.3", "second"}}));
}

TEST_F(ContainerLoad, SavesHoweverManyFindsWereKept) {
    for (int i = 0; i < 12; ++i) {
        directory_.write("file.json", "damage " + std::to_string(i));
        container_.load();
        container_.saveText("new", false);
        EXPECT_TRUE(container_.saved());
    }
    EXPECT_EQ(directory_.files().size(), 10U);
    EXPECT_EQ(directory_.files()["file.json.bad"], "damage 11");
    EXPECT_EQ(directory_.files()["file.json.bad.2"], "damage 0");
    EXPECT_EQ(directory_.files()["file.json.bad.9"], "damage 10");
}

TEST_F(ContainerLoad, KeepsAFindBesideADirectoryOfThatName) {
    fs::create_directory(path_ + ".bad");
    directory_.write("file.json", "damage");
    container_.load();
    container_.saveText("new", false);
    EXPECT_TRUE(container_.saved());
    EXPECT_EQ(directory_.read("file.json.bad"), "damage");
    EXPECT_TRUE(fs::is_directory(path_ + ".bad.2"));
    fs::remove(path_);
    fs::create_directory(path_);
    container_.load();
    container_.saveText("newer", false);
    EXPECT_TRUE(container_.saved());
    EXPECT_TRUE(fs::is_directory(path_ + ".bad"));
    EXPECT_EQ(directory_.read("file.json.bad.3"), "damage");
}

TEST_F(ContainerLoad, KeepsAFileWithoutPayloadToo) {
    for (const std::string contents : {"[7]", R"({"sample": {"text": 12}})"}) {
        directory_.write("file.json", contents);
        EXPECT_EQ(container_.load(), -1);
        container_.saveText("new", false);
        EXPECT_EQ(directory_.files()["file.json.bad"], contents);
    }
}

TEST_F(ContainerLoad, KeepsAFileBesideTheOldOneThatItTook) {
    directory_.write("file.json", "torn");
    directory_.write("file.json.old", sampleFile("old"));
    EXPECT_EQ(container_.load(), 0);
    container_.saveText("new", true);
    EXPECT_EQ(directory_.files(), (Files{{"file.json", sampleFile("new")},
                                         {"file.json.old", sampleFile("old")},
                                         {"file.json.bad", "torn"}}));
    container_.saveText("newer", false);
    EXPECT_EQ(directory_.files(),
              (Files{{"file.json", sampleFile("newer")}, {"file.json.bad", "torn"}}));
}

TEST_F(ContainerLoad, KeepsBothFilesWhenNoneIsOfUse) {
    directory_.write("file.json", "torn");
    directory_.write("file.json.old", "torn too");
    EXPECT_EQ(container_.load(), -1);
    container_.saveText("new", false);
    EXPECT_EQ(directory_.files(), (Files{{"file.json", sampleFile("new")},
                                         {"file.json.bad", "torn"},
                                         {"file.json.old.bad", "torn too"}}));
}

TEST_F(ContainerLoad, KeepsAnOldFileThatAloneIsThereAndOfNoUse) {
    directory_.write("file.json.old", "torn");
    EXPECT_EQ(container_.load(), -1);
    EXPECT_EQ(log_.take(), (Lines{notOpened("previous copy used."), invalid(path_)}));
    container_.saveText("new", true);
    EXPECT_EQ(directory_.files(),
              (Files{{"file.json", sampleFile("new")}, {"file.json.bad", "torn"}}));
}

TEST_F(ContainerLoad, KeepsItsFindsOnceOnly) {
    directory_.write("file.json", "torn");
    container_.load();
    container_.saveText("new", true);
    container_.saveText("newer", true);
    EXPECT_EQ(directory_.read("file.json.bad"), "torn");
    EXPECT_EQ(directory_.read("file.json.old"), sampleFile("new"));
}

TEST_F(ContainerLoad, KeepsItsFindsFromSavesToItsOwnPathAlone) {
    directory_.write("file.json", "torn");
    container_.load();
    container_.text = "new";
    container_.save(directory_.path("other").c_str(), true);
    EXPECT_EQ(directory_.read("file.json"), "torn");
    container_.saveToOwnPath(true);
    EXPECT_EQ(directory_.read("file.json.bad"), "torn");
}

TEST_F(ContainerLoad, WritesNothingOverAFindThatItCannotKeep) {
    directory_.write("file.json", "torn");
    container_.load();
    log_.take();
    const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
        const bool fails = call == FileCall{"rename", path_, path_ + ".bad"};
        return fails ? std::optional<FileAnswer>({-1, EACCES}) : std::nullopt;
    });
    container_.saveText("new", false);
    EXPECT_FALSE(container_.saved());
    EXPECT_EQ(directory_.read("file.json"), "torn");
    EXPECT_EQ(log_.lines(),
              (Lines{{kUserCritical, "sample container could not overwrite prev: rename \"" +
                                         path_ + " -> " + path_ + ".bad\" failed (13).\n"}}));
}

TEST_F(ContainerLoad, MovesNoFindWhenItCannotBeginANewFile) {
    directory_.write("file.json", "torn");
    directory_.write("file.json.old", sampleFile("old"));
    container_.load();
    const FileCallWatch watch([](const FileCall& call) -> std::optional<FileAnswer> {
        return call.verb == "create" ? std::optional<FileAnswer>({-1, EMFILE}) : std::nullopt;
    });
    container_.saveText("new", false);
    EXPECT_FALSE(container_.saved());
    EXPECT_EQ(directory_.files(),
              (Files{{"file.json", "torn"}, {"file.json.old", sampleFile("old")}}));
}

TEST_F(ContainerLoad, TriesAFileThatCannotBeOpenedAgainForTwoSeconds) {
    directory_.write("file.json", sampleFile("text"));
    for (const int errorNumber : {EACCES, EIO, ELOOP, EMFILE, ENFILE, ENOMEM, ENODEV, EPERM, ENXIO,
                                  ETXTBSY, EOVERFLOW, EINTR, ENOTDIR}) {
        container_.pauses.clear();
        container_.text.clear();
        const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
            const bool fails = call.verb == "open" && container_.pauses.size() < 20;
            return fails ? std::optional<FileAnswer>({-1, errorNumber}) : std::nullopt;
        });
        EXPECT_EQ(container_.load(), 0) << errorNumber;
        EXPECT_EQ(container_.text, "text");
        EXPECT_EQ(container_.pauses, std::vector<milliseconds>(20, milliseconds(100)));
        EXPECT_TRUE(log_.take().empty());
    }
}

TEST_F(ContainerLoad, DoesNotWaitForAMissingFile) {
    container_.load();
    EXPECT_TRUE(container_.pauses.empty());
}

TEST_F(ContainerLoad, KeepsAFileThatCouldNotBeOpened) {
    directory_.write("file.json", sampleFile("text"));
    {
        const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
            const bool fails = call == FileCall{"open", path_, ""};
            return fails ? std::optional<FileAnswer>({-1, EIO}) : std::nullopt;
        });
        EXPECT_EQ(container_.load(), -1);
    }
    EXPECT_EQ(log_.take(), (Lines{notOpened("previous copy used."), notOpened("Empty set used."),
                                  invalid(path_)}));
    container_.saveText("new", false);
    EXPECT_EQ(directory_.files(),
              (Files{{"file.json", sampleFile("new")}, {"file.json.bad", sampleFile("text")}}));
}

TEST_F(ContainerLoad, TakesTheOldFileForOneThatCannotBeOpened) {
    fs::create_symlink("file.json", path_);
    directory_.write("file.json.old", sampleFile("old"));
    EXPECT_EQ(container_.load(), 0);
    EXPECT_EQ(container_.text, "old");
    EXPECT_EQ(log_.take(), Lines{notOpened("previous copy used.")});
    container_.saveText("new", false);
    EXPECT_TRUE(container_.saved());
    EXPECT_TRUE(fs::is_symlink(path_ + ".bad"));
    EXPECT_EQ(found(), "new");
}

TEST_F(ContainerLoad, TakesADirectoryForAFileThatIsNoJSON) {
    fs::create_directory(path_);
    directory_.write("file.json/something", "kept");
    EXPECT_EQ(container_.load(), -1);
    EXPECT_EQ(log_.take(), Lines{invalid(path_)});
    container_.saveText("new", false);
    EXPECT_TRUE(container_.saved());
    EXPECT_EQ(found(), "new");
    EXPECT_EQ(directory_.read("file.json.bad/something"), "kept");
}

TEST_F(ContainerLoad, DoesNotWaitForAPipeOrReadADevice) {
    for (const bool pipe : {true, false}) {
        if (pipe) {
            ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
        } else {
            fs::remove(path_);
            fs::create_symlink("/dev/zero", path_);
        }
        EXPECT_EQ(container_.load(), -1);
        EXPECT_EQ(log_.take(), Lines{invalid(path_)});
        container_.saveText("new", false);
        EXPECT_EQ(found(), "new");
        EXPECT_TRUE(fs::exists("/dev/zero"));
        EXPECT_EQ(fs::is_fifo(path_ + ".bad"), pipe);
    }
}

TEST_F(ContainerLoad, ReadsNoMoreThan16MiB) {
    const std::string file = sampleFile("text");
    directory_.write("file.json", file + std::string((size_t{16} << 20U) - file.size(), ' '));
    EXPECT_EQ(container_.load(), 0);
    std::ofstream(path_, std::ios::app) << ' ';
    EXPECT_EQ(container_.load(), -1);
    EXPECT_EQ(log_.lines(), Lines{invalid(path_)});
}

// Parsed, it would take a hundred times its own size, at every start anew.
TEST_F(ContainerLoad, DoesNotParseMoreItemsThanAnyContainerHas) {
    std::string items = "1";
    for (int i = 0; i < 50'000; ++i) {
        items += ",1";
    }
    directory_.write("file.json", R"({"sample":{"text":"big","more":[)" + items + "]}}");
    directory_.write("file.json.old", sampleFile("old"));
    EXPECT_EQ(container_.load(), 0);
    EXPECT_EQ(container_.text, "old");
    EXPECT_EQ(log_.take(), Lines{invalid(path_)});
}

TEST_F(ContainerLoad, LivesBesideTheFileThatALinkLeadsTo) {
    fs::create_directory(directory_.path("elsewhere"));
    fs::create_symlink("elsewhere/target", path_);
    const auto inTarget = [this] { return directory_.read("elsewhere/target"); };
    container_.saveText("first", true);
    EXPECT_EQ(inTarget(), sampleFile("first")) << "there was none";
    container_.saveText("second", true);
    EXPECT_EQ(inTarget(), sampleFile("second"));
    EXPECT_EQ(directory_.read("elsewhere/target.old"), sampleFile("first"));
    EXPECT_TRUE(fs::is_symlink(path_));
    fs::remove(directory_.path("elsewhere/target"));
    EXPECT_EQ(found(), "first");
    directory_.write("elsewhere/target", "torn");
    EXPECT_EQ(container_.load(), 0);
    container_.saveText("third", false);
    EXPECT_EQ(directory_.read("elsewhere/target.bad"), "torn");
    EXPECT_EQ(inTarget(), sampleFile("third"));
}

TEST_F(ContainerLoad, SavesForAllToReadWhateverTheMaskAndKeepsAMode) {
    const auto mode = [this] {
        struct stat status {};
        return stat(path_.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    };
    for (const mode_t mask : {0U, 077U}) {
        const mode_t before = umask(mask);
        container_.saveText("text", false);
        umask(before);
        EXPECT_EQ(mode(), 0644U);
        fs::remove(path_);
    }
    container_.saveText("text", false);
    ASSERT_EQ(chmod(path_.c_str(), 0600), 0);
    container_.saveText("next", false);
    EXPECT_EQ(mode(), 0600U);
}

TEST_F(ContainerLoad, IsReadyForASaveAfterAnythingThatStandsInItsWay) {
    const std::string fresh = path_ + ".new";
    const std::function<void()> obstacles[] = {
        [&] { fs::create_directory(fresh); },
        [&] {
            fs::create_directory(fresh);
            directory_.write("file.json.new/something", "kept");
        },
        [&] { ASSERT_EQ(mkfifo(fresh.c_str(), 0600), 0); },
        [&] { fs::create_symlink("file.json.new", fresh); },
        [&] { fs::create_symlink(directory_.write("another", "another's"), fresh); },
        [&] { directory_.write("file.json.new", "torn"); },
    };
    container_.saveText("before", true);
    for (const auto& stand : obstacles) {
        stand();
        container_.saveText("after", false);
        EXPECT_TRUE(container_.saved());
        EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path_)));
        EXPECT_EQ(found(), "after");
        EXPECT_FALSE(directory_.holds("file.json.new"));
    }
    EXPECT_EQ(directory_.read("another"), "another's");
    EXPECT_EQ(directory_.read("file.json.new.bad/something"), "kept");
    EXPECT_TRUE(log_.lines().empty());
}

// A power cut left it, and now there is no descriptor to be had.
TEST_F(ContainerLoad, NeverTakesALeftOverNewFileForItsOwn) {
    container_.saveText("before", true);
    directory_.write("file.json.new", "torn");
    const FileCallWatch watch([](const FileCall& call) -> std::optional<FileAnswer> {
        const bool fails = call.verb == "create" || call.verb == "unlink";
        return fails ? std::optional<FileAnswer>({-1, EMFILE}) : std::nullopt;
    });
    container_.saveText("after", false);
    EXPECT_FALSE(container_.saved());
    EXPECT_EQ(found(), "before");
    container_.retrySave();
    EXPECT_EQ(found(), "before");
}

}  // namespace

}  // namespace model
