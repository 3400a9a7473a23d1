// Every call and every allocation of a save made to fail in turn: what is on the disk then is the
// state before it or the new one.

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <set>

#include <gtest/gtest.h>

#include "sample_container.h"
#include "support/captured_log.h"
#include "support/exhausted_memory.h"
#include "support/file_calls.h"
#include "support/temporary_directory.h"

namespace model {

namespace {

using Files = std::map<std::string, std::string>;

// The errors that the calls of a save have in their manual pages.
constexpr int kErrors[] = {EACCES,       EBADF,     EBUSY,  EDQUOT, EEXIST, EFBIG,   EINTR,
                           EINVAL,       EIO,       EISDIR, ELOOP,  EMFILE, EMLINK,  ENODEV,
                           ENAMETOOLONG, ENFILE,    ENOENT, ENOMEM, ENOSPC, ENOTDIR, ENOTEMPTY,
                           ENXIO,        EOVERFLOW, EPERM,  EPIPE,  EROFS,  ETXTBSY, EXDEV};

// A disk in memory does not keep the test waiting for its syncs.
std::filesystem::path memory() {
    const std::filesystem::path shared = "/dev/shm";
    return access(shared.c_str(), W_OK) == 0 ? shared : std::filesystem::temp_directory_path();
}

// What a start finds there. A file that fails to be read ends the process, and the test with it.
std::string foundIn(const TemporaryDirectory& directory) {
    SampleContainer reader(directory.path("file"));
    return reader.load() == 0 ? reader.text : "nothing";
}

class SaveFailures : public testing::TestWithParam<bool> {
  protected:
    // Lets the call of that number fail, and with `onwards` all that follow. Gives whether it came
    // to it.
    bool saveFailing(SampleContainer& container, int number, int errorNumber, bool onwards) {
        int calls = 0;
        const FileCallWatch watch([&](const FileCall&) -> std::optional<FileAnswer> {
            const int call = calls++;
            const bool fails = call == number || (onwards && call > number);
            return fails ? std::optional<FileAnswer>({-1, errorNumber}) : std::nullopt;
        });
        container.saveText("new", keepOld_);
        return calls > number;
    }

    void expectOldOrNew(const Files& start, int errorNumber, bool onwards) {
        bool reached = true;
        for (int number = 0; reached; ++number) {
            const TemporaryDirectory directory(memory());
            for (const auto& [name, bytes] : start) {
                directory.write(name, bytes);
            }
            const std::string before = foundIn(directory);
            SampleContainer container(directory.path("file"));
            container.load();
            reached = saveFailing(container, number, errorNumber, onwards);
            const std::string left = foundIn(directory);
            EXPECT_EQ(left == "new" || left == before, true)
                << left << " after call " << number << ": " << std::strerror(errorNumber);
            EXPECT_TRUE(!container.saved() || left == "new");
            EXPECT_TRUE(container.retrySave());
            EXPECT_EQ(foundIn(directory), "new");
        }
    }

    const bool keepOld_ = GetParam();
    CapturedLog ignored_;
};

INSTANTIATE_TEST_SUITE_P(Saves, SaveFailures, testing::Bool(), [](const auto& test) {
    return test.param ? "KeepingTheOldFile" : "KeepingNothing";
});

TEST_P(SaveFailures, OfAnyCallWithAnyErrorLeaveTheStateBeforeOrTheNewOne) {
    const Files starts[] = {{},
                            {{"file.json", sampleFile("old")}},
                            {{"file.json.old", sampleFile("old")}},
                            {{"file.json", sampleFile("old")}, {"file.json.old", "older"}},
                            {{"file.json", sampleFile("old")}, {"file.json.new", "torn"}},
                            {{"file.json", "torn"}, {"file.json.old", sampleFile("old")}},
                            {{"file.json", "torn"}, {"file.json.old", "torn too"}}};
    for (const int errorNumber : kErrors) {
        expectOldOrNew(starts[1], errorNumber, false);
        if (errorNumber != EINTR) {  // which asks for the same call again
            expectOldOrNew(starts[1], errorNumber, true);
        }
    }
    for (const Files& start : starts) {
        for (const int errorNumber : {EIO, EMFILE, ENOENT, ENOSPC}) {
            expectOldOrNew(start, errorNumber, false);
            expectOldOrNew(start, errorNumber, true);
        }
    }
}

TEST(SaveAllocations, EachThatFailsLeavesTheFileAlone) {
    const TemporaryDirectory directory;
    const CapturedLog log;
    SampleContainer container(directory.path("file"));
    container.saveText("old", true);
    bool failed = true;
    unsigned long number = 0;
    for (; failed; ++number) {
        {
            const OneFailedAllocation failure(number);
            container.saveText("new", false);
            failed = OneFailedAllocation::happened();
        }
        EXPECT_EQ(container.saved(), !failed) << number;
        EXPECT_EQ(directory.files(), (Files{{"file.json", sampleFile(failed ? "old" : "new")}}));
    }
    EXPECT_GT(number, 8U) << "objects, members, texts and the rendering";
}

// A container whose values find no memory outside of the JSON library.
class HungryContainer : public SampleContainer {
  public:
    using SampleContainer::SampleContainer;
    util::UniqueJSON toJSON() const override { throw std::bad_alloc(); }
};

TEST(SaveAllocations, OutsideOfTheLibraryAreASaveThatFailed) {
    const TemporaryDirectory directory;
    CapturedLog log;
    SampleContainer(directory.path("file")).saveText("old", true);
    HungryContainer container(directory.path("file"));
    container.saveToOwnPath(false);
    EXPECT_FALSE(container.saved());
    EXPECT_EQ(directory.files(), (Files{{"file.json", sampleFile("old")}}));
    EXPECT_EQ(log.lines(), (std::vector<CapturedLog::Line>{
                               {8 + 2,
                                "sample container SAVE FAILED: could not alloc JSON object for "
                                "\"" +
                                    container.path() + "\".\n"}}));
}

// A container that does not notice that a member of its payload found no memory.
TEST(SaveAllocations, ThatNobodyNoticedAreASaveThatFailed) {
    const TemporaryDirectory directory;
    CapturedLog log;
    SampleContainer container(directory.path("file"));
    container.saveText("old", true);
    {
        const OneFailedAllocation ofTheText(2);
        container.saveText("new", false);
    }
    EXPECT_EQ(directory.read("file.json"), sampleFile("old"));
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_NE(log.lines()[0].text.find("SAVE FAILED"), std::string::npos);
}

}  // namespace

}  // namespace model
