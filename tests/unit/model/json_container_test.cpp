#include "model/json_container.h"

#include <sys/stat.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "sample_container.h"
#include "support/captured_log.h"
#include "support/exhausted_memory.h"
#include "support/temporary_directory.h"

namespace model {

namespace {

using Lines = std::vector<CapturedLog::Line>;

constexpr int kUserCritical = 8 + 2;
constexpr int kUserWarning = 8 + 4;
constexpr int kError = 3;

class JSONContainer : public testing::Test {
  protected:
    // What a fresh container finds in the file.
    std::string loaded() const {
        SampleContainer reader(directory_.path("file"));
        return reader.load() == 0 ? reader.text : "nothing";
    }

    TemporaryDirectory directory_;
    CapturedLog log_;
    const std::string path_ = directory_.path("file.json");
    SampleContainer container_{directory_.path("file")};
};

TEST_F(JSONContainer, BeginsWithoutVersionAndWithItsPath) {
    EXPECT_EQ(container_.version(), 0);
    EXPECT_EQ(container_.path(), path_);
    EXPECT_EQ(SampleContainer("name").path(), "name.json");
    EXPECT_EQ(SampleContainer("name", "/some/where").path(), "/some/where/name.json");
    EXPECT_EQ(SampleContainer().path(), "");
}

TEST_F(JSONContainer, HooksDoNothing) {
    container_.text = "a";
    AbstractJSONTopLevelContainer& base = container_;
    base.refresh();
    base.update();
    EXPECT_EQ(base.describe(), "");
    EXPECT_EQ(container_.text, "a");
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(JSONContainer, FileHoldsVersionThenPayloadIndentedWithoutTerminator) {
    container_.setVersion(2.5);
    container_.text = "a";
    container_.saveToOwnPath(true);
    EXPECT_EQ(directory_.read("file.json"),
              "{\n\t\"version\":\t2.5,\n\t\"sample\":\t{\n\t\t\"text\":\t\"a\"\n\t}\n}");
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(JSONContainer, LoadsWhatItSaved) {
    container_.setVersion(7);
    container_.saveText("a \"quoted\" text", true);
    SampleContainer reader(directory_.path("file"));
    EXPECT_EQ(reader.load(), 0);
    EXPECT_EQ(reader.text, "a \"quoted\" text");
    EXPECT_EQ(reader.version(), 7);
}

TEST_F(JSONContainer, SavesToAnotherPathThanItsOwn) {
    container_.text = "a";
    container_.save(directory_.path("other").c_str(), true);
    EXPECT_EQ(directory_.read("other"), sampleFile("a"));
    EXPECT_FALSE(directory_.holds("file.json"));
}

TEST_F(JSONContainer, FirstSaveThatKeepsTheOldLeavesTheFileOnly) {
    container_.saveText("a", true);
    EXPECT_EQ(directory_.read("file.json"), sampleFile("a"));
    EXPECT_FALSE(directory_.holds("file.json.new"));
    EXPECT_FALSE(directory_.holds("file.json.old"));
}

TEST_F(JSONContainer, SecondSaveThatKeepsTheOldLeavesBoth) {
    container_.saveText("a", true);
    container_.saveText("b", true);
    EXPECT_EQ(directory_.read("file.json"), sampleFile("b"));
    EXPECT_EQ(directory_.read("file.json.old"), sampleFile("a"));
    EXPECT_FALSE(directory_.holds("file.json.new"));
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(JSONContainer, SaveThatKeepsNothingLeavesTheFileOnly) {
    container_.saveText("a", true);
    container_.saveText("b", false);
    EXPECT_EQ(directory_.read("file.json"), sampleFile("b"));
    EXPECT_FALSE(directory_.holds("file.json.old"));
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(JSONContainer, SaveReplacesALongerNewFileLeftOver) {
    directory_.write("file.json.new", std::string(5000, 'x'));
    container_.saveText("a", true);
    EXPECT_EQ(directory_.read("file.json"), sampleFile("a"));
}

TEST_F(JSONContainer, SaveToOwnPathWithoutAPathDoesNothing) {
    SampleContainer nowhere;
    nowhere.text = "a";
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    nowhere.saveToOwnPath(false);
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_empty(directory_.path()));
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(JSONContainer, NameWithoutDirectoryLivesInTheWorkingDirectory) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.path());
    SampleContainer here("here");
    here.saveText("a", true);
    here.saveText("b", false);
    std::filesystem::current_path(before);
    EXPECT_EQ(directory_.read("here.json"), sampleFile("b"));
    EXPECT_FALSE(directory_.holds("here.json.old"));
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(JSONContainer, SaveMakesTheDirectoryForAllToRead) {
    const std::string parent = directory_.path("made");
    SampleContainer container("file", parent.c_str());
    const mode_t mask = umask(022);
    container.saveText("a", true);
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(parent.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFDIR | 0755));
    EXPECT_EQ(directory_.read("made/file.json"), sampleFile("a"));
}

TEST_F(JSONContainer, SaveMakesOneLevelOfDirectoriesOnlyAndDoesNotReportIt) {
    const std::string parent = directory_.path("absent/made");
    SampleContainer container("file", parent.c_str());
    container.saveText("a", true);
    EXPECT_FALSE(directory_.holds("absent"));
    const std::string path = parent + "/file.json";
    EXPECT_EQ(
        log_.lines(),
        (Lines{{kError, "Error - couldn't open file " + path + " for writing\n"},
               {kUserCritical, "sample container could not write \"" + path + ".new\" (2).\n"}}));
}

TEST_F(JSONContainer, SaveWithoutMemoryForTheRootStops) {
    const ExhaustedMemory none(0);
    container_.saveText("a", true);
    EXPECT_TRUE(std::filesystem::is_empty(directory_.path()));
    EXPECT_EQ(log_.lines(),
              (Lines{{kUserCritical,
                      "sample container SAVE FAILED: could not alloc root JSON object for \"" +
                          path_ + "\".\n"}}));
}

// A container that cannot be written down.
class UnwritableContainer : public SampleContainer {
  public:
    using SampleContainer::SampleContainer;
    util::UniqueJSON toJSON() const override { return nullptr; }
};

TEST_F(JSONContainer, SaveWithoutPayloadStops) {
    container_.saveText("a", true);
    UnwritableContainer container(directory_.path("file"));
    container.saveToOwnPath(false);
    EXPECT_EQ(loaded(), "a");
    EXPECT_EQ(
        log_.lines(),
        (Lines{{kUserCritical, "sample container SAVE FAILED: could not alloc JSON object for \"" +
                                   path_ + "\".\n"}}));
}

// A container with a name that cJSON finds no memory for.
class LongNamedContainer : public SampleContainer {
  public:
    using SampleContainer::SampleContainer;
    const char* getName() const override {
        return "a name that is longer than every other piece of memory the document asks for, by "
               "far";
    }
};

TEST_F(JSONContainer, SaveDoesNotReplaceAFileByOneWithoutPayload) {
    container_.saveText("a", true);
    LongNamedContainer container(directory_.path("file"));
    {
        const ExhaustedMemory small(80);
        container.saveToOwnPath(false);
    }
    EXPECT_EQ(loaded(), "a");
    ASSERT_EQ(log_.lines().size(), 1U);
    EXPECT_NE(log_.lines()[0].text.find("could not alloc JSON object"), std::string::npos);
}

TEST_F(JSONContainer, LoadsTheOldFileWhenTheFileIsMissing) {
    directory_.write("file.json.old", sampleFile("old"));
    EXPECT_EQ(container_.load(), 0);
    EXPECT_EQ(container_.text, "old");
    EXPECT_EQ(log_.lines(), (Lines{{kUserCritical, "sample container could not open \"" + path_ +
                                                       "\". previous copy used.\n"}}));
}

TEST_F(JSONContainer, LoadsTheFileWhenBothAreThere) {
    directory_.write("file.json", sampleFile("new"));
    directory_.write("file.json.old", sampleFile("old"));
    EXPECT_EQ(container_.load(), 0);
    EXPECT_EQ(container_.text, "new");
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(JSONContainer, LoadOfNothingTellsEveryStep) {
    container_.text = "before";
    EXPECT_EQ(container_.load(), -1);
    EXPECT_EQ(container_.text, "before");
    const std::string start = "sample container could not open \"" + path_ + "\". ";
    EXPECT_EQ(log_.lines(), (Lines{{kUserCritical, start + "previous copy used.\n"},
                                   {kUserCritical, start + "Empty set used.\n"},
                                   {kError, "Not a valid JSON file: " + path_ + "\n"}}));
}

TEST_F(JSONContainer, LoadOfAFileThatIsNoJSONTellsItOnce) {
    for (const char* contents : {"", "{\"version\": 1, \"sample\": {\"te", "text", " \n"}) {
        directory_.write("file.json", contents);
        EXPECT_EQ(container_.load(), -1) << contents;
        EXPECT_EQ(log_.take(), (Lines{{kError, "Not a valid JSON file: " + path_ + "\n"}}));
    }
}

TEST_F(JSONContainer, LoadWithoutPayloadKeepsTheVersionItRead) {
    directory_.write("file.json", R"({"version": 3, "SAMPLE": {"text": "a"}})");
    EXPECT_EQ(container_.load(), -1);
    EXPECT_EQ(container_.version(), 3);
    EXPECT_EQ(container_.text, "");
    EXPECT_EQ(
        log_.lines(),
        (Lines{{kError, "Error decoding JSON object, path:" + path_ + ", objectName:sample\n"}}));
}

TEST_F(JSONContainer, LoadOfARootThatIsNoObjectFindsNoPayload) {
    directory_.write("file.json", "[1]");
    EXPECT_EQ(container_.load(), -1);
    EXPECT_EQ(
        log_.lines(),
        (Lines{{kError, "Error decoding JSON object, path:" + path_ + ", objectName:sample\n"}}));
}

TEST_F(JSONContainer, LoadLeavesTheVersionThatIsNotInTheFile) {
    directory_.write("file.json", R"({"sample": {"text": "a"}})");
    container_.setVersion(4);
    EXPECT_EQ(container_.load(), 0);
    EXPECT_EQ(container_.version(), 4);
}

TEST_F(JSONContainer, LoadReadsAVersionThatIsNoNumberAsZero) {
    directory_.write("file.json", R"({"version": "4", "sample": {"text": "a"}})");
    container_.setVersion(4);
    EXPECT_EQ(container_.load(), 0);
    EXPECT_EQ(container_.version(), 0);
}

TEST_F(JSONContainer, LoadGivesTheResultOfFromJSON) {
    directory_.write("file.json", R"({"sample": {"text": 12}})");
    EXPECT_EQ(container_.load(), -1);
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(JSONContainer, LoadSkipsTheFileWhenToldTo) {
    directory_.write("file.json", sampleFile("a"));
    container_.setLoadFromDisk(false);
    EXPECT_EQ(container_.load(), -1);
    EXPECT_EQ(container_.text, "");
    EXPECT_EQ(log_.lines(),
              (Lines{{kUserWarning, "sample - Skipping load from disk. Empty set used.\n"},
                     {kError, "Not a valid JSON file: " + path_ + "\n"}}));
}

TEST_F(JSONContainer, LoadReadsTheFileAnewEachTime) {
    directory_.write("file.json", sampleFile("a"));
    EXPECT_EQ(container_.load(), 0);
    directory_.write("file.json", sampleFile("b"));
    EXPECT_EQ(container_.load(), 0);
    EXPECT_EQ(container_.text, "b");
}

}  // namespace

}  // namespace model
