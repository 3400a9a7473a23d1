#include "util/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/captured_log.h"
#include "support/file_calls.h"
#include "support/temporary_directory.h"

namespace util {

namespace {

using std::chrono::milliseconds;

// The text of the runtime error that `action` throws; empty when it throws none.
template <typename Action>
std::string errorOf(Action action) {
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

class Files : public testing::Test {
  protected:
    TemporaryDirectory directory_;
    CapturedLog log_;
};

TEST_F(Files, ExistWhateverTheyAre) {
    EXPECT_TRUE(fileExists(directory_.write("file", "")));
    EXPECT_TRUE(fileExists(directory_.path()));
    EXPECT_FALSE(fileExists(directory_.path("absent")));
    EXPECT_FALSE(fileExists(""));
}

TEST_F(Files, BrokenLinkDoesNotExist) {
    ASSERT_EQ(symlink("absent", directory_.path("link").c_str()), 0);
    EXPECT_FALSE(fileExists(directory_.path("link")));
}

TEST_F(Files, OpenedFileIsClosedInLaterCommands) {
    for (const char* mode : {"r", "w", "a"}) {
        const UniqueFile file = openFile(directory_.write("file", "x"), mode);
        ASSERT_TRUE(file);
        EXPECT_EQ(fcntl(fileno(file.get()), F_GETFD), FD_CLOEXEC) << mode;
    }
}

TEST_F(Files, OpeningFailsWithErrno) {
    EXPECT_FALSE(openFile(directory_.path("absent"), "r"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(Files, MakeDirectoryMakesOneForTheOwnerOnly) {
    makeDirectory(directory_.path("new"));
    struct stat status {};
    ASSERT_EQ(stat(directory_.path("new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFDIR | 0700));
}

TEST_F(Files, MakeDirectoryLeavesWhatIsThere) {
    directory_.write("file", "contents");
    makeDirectory(directory_.path("file"));
    EXPECT_EQ(directory_.read("file"), "contents");
    makeDirectory(directory_.path());
}

TEST_F(Files, MakeDirectoryMakesTheLastLevelOnly) {
    const std::string path = directory_.path("absent/new");
    try {
        makeDirectory(path);
        FAIL() << "made " << path;
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::error_code(ENOENT, std::generic_category()));
        EXPECT_EQ(std::string(error.what()), "mkdir" + path + ": No such file or directory");
    }
}

TEST_F(Files, ReadFileOfAnEmptyFileGivesTheEmptyText) {
    const std::string path = directory_.write("file", "");
    EXPECT_EQ(readFile(path, false), "");
    EXPECT_EQ(readFile(path, true), "");
}

TEST_F(Files, ReadFileJoinsTheLinesOrEndsEachWithANewline) {
    const std::string path = directory_.write("file", "a\nb");
    EXPECT_EQ(readFile(path, false), "ab");
    EXPECT_EQ(readFile(path, true), "a\nb\n");
}

TEST_F(Files, ReadFileKeepsWhatIsNoNewline) {
    const std::string text("a\r\n\n\0b\n", 7);
    const std::string path = directory_.write("file", text);
    EXPECT_EQ(readFile(path, true), text);
    EXPECT_EQ(readFile(path, false), std::string("a\r\0b", 4));
}

TEST_F(Files, ReadFileReadsLongLines) {
    const std::string line(100'000, 'x');
    EXPECT_EQ(readFile(directory_.write("file", line + "\n" + line), false), line + line);
}

TEST_F(Files, ReadFileTellsWhatCannotBeOpened) {
    const std::string path = directory_.path("absent");
    EXPECT_EQ(errorOf([&] { readFile(path, true); }), "error while opening file: " + path);
}

TEST_F(Files, ReadFileTellsWhatCannotBeRead) {
    const std::string path = directory_.path();
    EXPECT_EQ(errorOf([&] { readFile(path, true); }), "error while reading file: " + path);
}

TEST_F(Files, ReadWholeFileGivesTheBytesOrNothing) {
    const std::string text("a\n\0b", 4);
    EXPECT_EQ(readWholeFile(directory_.write("file", text)), text);
    EXPECT_EQ(readWholeFile(directory_.path("absent")), "");
    EXPECT_EQ(readWholeFile(directory_.path()), "");
}

TEST_F(Files, ReadFirstLineGivesItWithoutItsNewline) {
    EXPECT_EQ(readFirstLine(directory_.write("file", "a b\nc\n")), "a b");
    EXPECT_EQ(readFirstLine(directory_.write("file", "a b")), "a b");
    EXPECT_EQ(readFirstLine(directory_.write("file", "\na")), "");
    EXPECT_EQ(readFirstLine(directory_.write("file", "")), "");
    EXPECT_EQ(readFirstLine(directory_.path("absent")), "");
}

TEST_F(Files, SaveTextFileWritesExactlyTheBytes) {
    const std::string text("a\n\0b", 4);
    directory_.write("file", "something longer than that");
    saveTextFile(directory_.path("file"), text);
    EXPECT_EQ(directory_.read("file"), text);
}

TEST_F(Files, SaveTextFileLogsBytesAndTime) {
    const std::string path = directory_.path("file");
    saveTextFile(path, "twelve bytes");
    ASSERT_EQ(log_.lines().size(), 1U);
    EXPECT_EQ(log_.lines()[0].priority, LOG_INFO);
    const std::string start = "saveTextFile (" + path + " - 12 bytes) took ";
    const std::string text = log_.lines()[0].text;
    ASSERT_EQ(text.substr(0, start.size()), start);
    EXPECT_THAT(text.substr(start.size()), testing::MatchesRegex("[0-9]+ ms\n"));
}

TEST_F(Files, SaveTextFileTellsWhatCannotBeOpened) {
    const std::string path = directory_.path("absent/file");
    EXPECT_EQ(errorOf([&] { saveTextFile(path, "text"); }), "error while opening file: " + path);
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(Files, SaveTextFileTellsWhatCannotBeWritten) {
    EXPECT_EQ(errorOf([] { saveTextFile("/dev/full", "text"); }),
              "error while writing file: /dev/full");
    EXPECT_EQ(errorOf([] { saveTextFile("/dev/full", std::string(100'000, 'x')); }),
              "error while writing file: /dev/full");
    EXPECT_TRUE(log_.lines().empty());
}

TEST(FindKeyValue, GivesAllBehindTheFirstEqualsSign) {
    EXPECT_EQ(findKeyValue("key=x=y\n", "key"), "x=y");
    EXPECT_EQ(findKeyValue("key= 'x' \nother=1\n", "key"), " 'x' ");
    EXPECT_EQ(findKeyValue("key=x\r\n", "key"), "x\r");
    EXPECT_EQ(findKeyValue("key=", "key"), "");
}

TEST(FindKeyValue, ComparesTheKeyExactly) {
    EXPECT_EQ(findKeyValue("key = value\n", "key"), std::nullopt);
    EXPECT_EQ(findKeyValue("key = value\n", "key "), " value");
    EXPECT_EQ(findKeyValue("KEY=1\nkeys=2\nmy key=3\n", "key"), std::nullopt);
}

TEST(FindKeyValue, SkipsLinesWithoutEqualsSign) {
    EXPECT_EQ(findKeyValue("key\n\nkey=2", "key"), "2");
    EXPECT_EQ(findKeyValue("key", "key"), std::nullopt);
    EXPECT_EQ(findKeyValue("", "key"), std::nullopt);
}

TEST(FindKeyValue, GivesTheFirstOfSeveral) {
    EXPECT_EQ(findKeyValue("a=1\nkey=2\nkey=3\n", "key"), "2");
}

TEST(FindKeyValue, FindsTheEmptyKey) {
    EXPECT_EQ(findKeyValue("a=1\n=2\n", ""), "2");
}

TEST_F(Files, ReadKeyValueGivesAKeyThatIsThereAtOnce) {
    const std::string path = directory_.write("file", "a=1\nkey=x=y\n");
    const Pause pause = [](milliseconds) { FAIL() << "waited"; };
    EXPECT_EQ(readKeyValue(path, "key", pause), "x=y");
}

TEST_F(Files, ReadKeyValueWaitsForAKeyThatAppears) {
    const std::string path = directory_.write("file", "a=1\n");
    int pauses = 0;
    const Pause pause = [&](milliseconds) {
        if (++pauses == 3) {
            directory_.write("file", "a=1\nkey=value\n");
        }
    };
    EXPECT_EQ(readKeyValue(path, "key", pause), "value");
    EXPECT_EQ(pauses, 3);
}

TEST_F(Files, ReadKeyValueGivesUpAfterTenPausesOfHalfASecond) {
    const std::string path = directory_.write("file", "key = value\n");
    std::vector<milliseconds> pauses;
    const Pause pause = [&](milliseconds time) { pauses.push_back(time); };
    EXPECT_EQ(readKeyValue(path, "key", pause), "");
    EXPECT_EQ(pauses, std::vector<milliseconds>(10, milliseconds(500)));
}

TEST_F(Files, ReadKeyValueDoesNotWaitForAMissingFile) {
    const std::string path = directory_.path("absent");
    const Pause pause = [](milliseconds) { FAIL() << "waited"; };
    EXPECT_EQ(errorOf([&] { readKeyValue(path, "key", pause); }),
              "error while opening file: " + path);
}

TEST_F(Files, ReadKeyValueTellsOfAFileThatVanishesMeanwhile) {
    const std::string path = directory_.write("file", "a=1\n");
    const Pause pause = [&](milliseconds) { unlink(path.c_str()); };
    EXPECT_EQ(errorOf([&] { readKeyValue(path, "key", pause); }),
              "error while opening file: " + path);
}

TEST_F(Files, ReadKeyValueTellsWhatCannotBeRead) {
    const std::string path = directory_.path();
    const Pause pause = [](milliseconds) { FAIL() << "waited"; };
    EXPECT_EQ(errorOf([&] { readKeyValue(path, "key", pause); }),
              "error while reading file: " + path);
}

TEST(SleepFor, TakesThatLong) {
    const auto start = std::chrono::steady_clock::now();
    sleepFor(milliseconds(2));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(2));
}

TEST_F(Files, ReadContentsGivesTheWholeFile) {
    const std::string text("a\n\0b", 4);
    const FileContents contents = readContents(directory_.write("file", text));
    EXPECT_EQ(contents.outcome, Reading::complete);
    EXPECT_EQ(contents.bytes, text);
    EXPECT_EQ(contents.statedSize, 4U);
}

TEST_F(Files, ReadContentsReadsAFileOfTheKernelThatStatesNoSize) {
    const FileContents contents = readContents("/proc/self/status");
    EXPECT_EQ(contents.outcome, Reading::complete);
    EXPECT_EQ(contents.statedSize, 0U);
    EXPECT_THAT(contents.bytes, testing::StartsWith("Name:"));
}

TEST_F(Files, ReadContentsAsksOnceForASmallFileAndUntilTheEndForOneOfAnotherSize) {
    const std::string path = directory_.write("file", "bytes");
    int reads = 0;
    const FileCallWatch watch({}, [&](const FileCall& call) { reads += call.verb == "read"; });
    EXPECT_EQ(readContents(path).bytes, "bytes");
    EXPECT_EQ(reads, 1);
    readContents("/proc/self/status");
    EXPECT_GT(reads, 2);
}

TEST_F(Files, ReadContentsStopsAtItsLimit) {
    const std::string path = directory_.write("file", std::string(50'000, 'x'));
    EXPECT_EQ(readContents(path, 50'000).outcome, Reading::complete);
    for (const size_t limit : {0U, 1U, 16'384U, 49'999U}) {
        const FileContents contents = readContents(path, limit);
        EXPECT_EQ(contents.outcome, Reading::tooLong);
        EXPECT_EQ(contents.bytes, std::string(limit, 'x'));
    }
}

TEST_F(Files, ReadContentsReadsAMebibyteUnlessToldOtherwise) {
    const FileContents contents =
        readContents(directory_.write("file", std::string(1'048'577, 'x')));
    EXPECT_EQ(contents.outcome, Reading::tooLong);
    EXPECT_EQ(contents.bytes.size(), 1'048'576U);
}

TEST_F(Files, ReadContentsReadsNothingOfWhatIsNoFile) {
    const std::string pipe = directory_.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, directory_.path(), std::string("/dev/zero")}) {
        const FileContents contents = readContents(path);
        EXPECT_EQ(contents.outcome, Reading::notRegular) << path;
        EXPECT_EQ(contents.bytes, "");
    }
}

TEST_F(Files, ReadContentsTakesNoFileThatIsThereForMissing) {
    const std::string path = directory_.write("file", "text");
    const FileCallWatch watch([](const FileCall& call) {
        return call.verb == "open" ? std::optional<FileAnswer>({-1, ENOENT}) : std::nullopt;
    });
    const FileContents contents = readContents(path);
    EXPECT_EQ(contents.outcome, Reading::notOpened);
    EXPECT_EQ(contents.errorNumber, ENOENT);
}

TEST_F(Files, ReadContentsTellsMissingFromUnreadable) {
    EXPECT_EQ(readContents(directory_.path("absent")).outcome, Reading::missing);
    EXPECT_EQ(readContents("").outcome, Reading::missing);
    ASSERT_EQ(symlink("link", directory_.path("link").c_str()), 0);
    const FileContents circle = readContents(directory_.path("link"));
    EXPECT_EQ(circle.outcome, Reading::notOpened);
    EXPECT_EQ(circle.errorNumber, ELOOP);
    directory_.write("file", "");
    EXPECT_EQ(readContents(directory_.path("file/below")).outcome, Reading::notOpened);
}

TEST_F(Files, ReadContentsGoesOnAfterAnInterruptedRead) {
    const std::string path = directory_.write("file", "text");
    int reads = 0;
    const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
        const bool interrupted = call.verb == "read" && ++reads == 1;
        return interrupted ? std::optional<FileAnswer>({-1, EINTR}) : std::nullopt;
    });
    EXPECT_EQ(readContents(path).bytes, "text");
}

TEST_F(Files, ReadContentsGivesWhatCameBeforeAFailure) {
    const std::string path = directory_.write("file", std::string(20'000, 'x'));
    int reads = 0;
    const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
        const bool fails = call.verb == "read" && ++reads == 2;
        return fails ? std::optional<FileAnswer>({-1, EIO}) : std::nullopt;
    });
    const FileContents contents = readContents(path);
    EXPECT_EQ(contents.outcome, Reading::failed);
    EXPECT_EQ(contents.errorNumber, EIO);
    EXPECT_EQ(contents.bytes, std::string(16'384, 'x'));
}

}  // namespace

}  // namespace util
