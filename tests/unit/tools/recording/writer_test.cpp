#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <future>
#include <string_view>
#include <thread>

#include <gmock/gmock.h>

#include "recording/recording.h"
#include "support/file_size_limit.h"
#include "support/temporary_directory.h"

namespace {

using namespace std::chrono_literals;
using recording::Entry;
using recording::Reader;
using recording::Writer;
using testing::HasSubstr;

std::vector<Entry> entriesOf(const std::string& path) {
    Reader reader(path);
    std::vector<Entry> entries;
    while (std::optional<Entry> entry = reader.next()) {
        entries.push_back(std::move(*entry));
    }
    return entries;
}

class WriterTest : public testing::Test {
  protected:
    const TemporaryDirectory directory_;
    const std::string path_ = directory_.path("a.rec");
};

TEST_F(WriterTest, MakesAFileThatTheReaderTakes) {
    const std::vector<Entry> entries{{0us, 8, "one\n{}"}, {1us, 0, "\xff"}, {2s, 5, ""}};
    const auto before =
        std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
    Writer writer(path_, "a test");
    for (const Entry& entry : entries) {
        writer.write(entry);
    }
    EXPECT_EQ(writer.finish(), std::nullopt);

    const Reader reader(path_);
    EXPECT_EQ(reader.header().by, "a test");
    EXPECT_GE(reader.header().start, before);
    EXPECT_LE(reader.header().start, std::chrono::system_clock::now());
    EXPECT_EQ(entriesOf(path_), entries);
}

TEST_F(WriterTest, GivesWhatIsRecordedTheTimeSinceTheStart) {
    const auto before = std::chrono::steady_clock::now();
    Writer writer(path_, "a test");
    writer.record(8, "one");
    std::this_thread::sleep_until(std::chrono::steady_clock::now() + 1ms);
    writer.record(0, "two");
    writer.finish();
    const auto most = std::chrono::steady_clock::now() - before;

    const std::vector<Entry> entries = entriesOf(path_);
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].from, 8);
    EXPECT_EQ(entries[1].payload, "two");
    EXPECT_GE(entries[1].at - entries[0].at, 1ms);
    EXPECT_LE(entries[1].at, most);
}

TEST_F(WriterTest, BeginsTheFileAnew) {
    directory_.write("a.rec", "what was there before\n");
    Writer(path_, "a test").record(8, "one");
    EXPECT_EQ(entriesOf(path_).size(), 1U);
}

TEST_F(WriterTest, BringsLinesToTheFileWithoutBeingAsked) {
    Writer writer(path_, "a test");
    writer.record(8, "one");
    const auto deadline = std::chrono::steady_clock::now() + 10s;
    while (entriesOf(path_).empty() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_EQ(entriesOf(path_).size(), 1U);
}

TEST_F(WriterTest, EmptiesAFileThatIsOpenAlready) {
    directory_.write("a.rec", std::string(1000, 'x'));
    util::UniqueFile file(fopen(path_.c_str(), "r+"));
    Writer writer(std::move(file), path_, "a test");
    writer.record(8, "one");
    EXPECT_EQ(writer.finish(), std::nullopt);
    EXPECT_EQ(entriesOf(path_).size(), 1U);
}

TEST_F(WriterTest, TellsOfAnOpenFileThatCannotBeWritten) {
    Writer writer(util::UniqueFile(fopen("/dev/full", "r+")), "some.rec", "a test");
    EXPECT_EQ(writer.finish(), "some.rec: No space left on device");
}

TEST_F(WriterTest, CallsBackWhenAllIsInTheFile) {
    Writer writer(path_, "a test");
    writer.record(8, "one");
    std::promise<size_t> entries;
    writer.end([&] { entries.set_value(entriesOf(path_).size()); });
    EXPECT_EQ(entries.get_future().get(), 1U);
    writer.record(8, "too late");
    EXPECT_EQ(writer.finish(), std::nullopt);
    EXPECT_EQ(entriesOf(path_).size(), 1U);
}

TEST_F(WriterTest, OutlivesTheReaderOfAPipe) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    Writer writer(util::UniqueFile(fdopen(ends[1], "w")), "a pipe", "a test");
    close(ends[0]);
    writer.record(8, "one");
    EXPECT_EQ(writer.finish(), "a pipe: Broken pipe");
}

TEST_F(WriterTest, SaysWhyItCannotBegin) {
    const auto attempt = [](const std::string& path) {
        try {
            Writer(path, "a test");
        } catch (const std::runtime_error& error) {
            return std::string(error.what());
        }
        return std::string("none");
    };
    EXPECT_EQ(attempt("/nowhere/a.rec"), "/nowhere/a.rec: No such file or directory");
    EXPECT_EQ(attempt("/dev/full"), "/dev/full: No space left on device");
}

TEST_F(WriterTest, EndsTheRecordingWhereTheDiskIsFullAndTells) {
    const FileSizeLimit limit(1000);
    Writer writer(path_, "a test");
    EXPECT_EQ(writer.failure(), std::nullopt);
    for (int i = 0; i < 100; ++i) {
        writer.write(
            {std::chrono::seconds(i), 8, "fifty characters, more or less, of what was said"});
    }
    EXPECT_EQ(writer.finish(), path_ + ": File too large");

    Reader reader(path_);
    std::chrono::seconds expected = 0s;
    while (const std::optional<Entry> entry = reader.next()) {
        EXPECT_EQ(entry->at, expected);
        expected += 1s;
    }
    EXPECT_GT(expected, 5s);
    EXPECT_THAT(reader.truncation().value_or("whole"), HasSubstr("incomplete last line"));
}

// A pipe that nobody reads from until told to.
class StuckPipe {
  public:
    explicit StuckPipe(const std::string& path) {
        mkfifo(path.c_str(), 0600);
        fd_ = open(path.c_str(), O_RDWR | O_CLOEXEC);
    }
    ~StuckPipe() {
        EXPECT_EQ(write(fd_, "Q", 1), 1);
        reader_.join();
        close(fd_);
    }
    StuckPipe(const StuckPipe&) = delete;
    StuckPipe& operator=(const StuckPipe&) = delete;

    void readOn() {
        reader_ = std::thread([fd = fd_] {
            std::array<char, 65536> chunk;
            ssize_t size = 0;
            while ((size = read(fd, chunk.data(), chunk.size())) > 0 &&
                   std::string_view(chunk.data(), static_cast<size_t>(size)).back() != 'Q') {
            }
        });
    }

  private:
    int fd_;
    std::thread reader_;
};

TEST_F(WriterTest, GivesUpOnADiskThatDoesNotKeepUpInsteadOfWaiting) {
    StuckPipe pipe(path_);
    Writer writer(path_, "a test");
    const std::string payload(1024 * 1024, 'x');
    size_t recorded = 0;
    while (!writer.failure() && recorded < Writer::kMaxWaitingBytes * 2) {
        writer.record(8, payload);
        recorded += payload.size();
    }
    EXPECT_EQ(writer.failure(), path_ + ": the disk is too slow");
    pipe.readOn();
    EXPECT_EQ(writer.finish(), path_ + ": the disk is too slow");
}

}  // namespace
