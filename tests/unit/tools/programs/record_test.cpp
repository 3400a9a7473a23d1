// pallbus --record from outside: what the file holds after things went over the bus.

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include <gmock/gmock.h>

#include "bus_peer.h"
#include "program_process.h"
#include "recording/recording.h"
#include "support/temporary_directory.h"

namespace {

using namespace std::chrono_literals;
using recording::Entry;
using recording::Reader;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kRequest = "[\"SET\", \"nobody\", 20, 0, 0]\n{\"id\":\"\u00e4\"}";

std::vector<Entry> entriesOf(const std::string& path) {
    Reader reader(path);
    std::vector<Entry> entries;
    while (std::optional<Entry> entry = reader.next()) {
        entries.push_back(std::move(*entry));
    }
    return entries;
}

class RecordTest : public testing::Test {
  protected:
    std::vector<std::string> recording() const {
        return pallbusCommand({"--port=0", "--record", path_});
    }

    static void end(ProgramProcess& bus) {
        bus.signal(SIGTERM);
        EXPECT_EQ(bus.wait(), 0);
    }

    const TemporaryDirectory directory_;
    const std::string path_ = directory_.path("bus.rec");
};

TEST_F(RecordTest, KeepsWhatClientsSendAndWhatTheBusAnswers) {
    ProgramProcess bus(recording());
    BusPeer client(portOf(bus.readLine()), 20);
    client.send(kRequest);
    client.send("bytes \xff");
    EXPECT_TRUE(client.isQuiet());
    end(bus);
    EXPECT_EQ(bus.errors(), "");

    const std::vector<Entry> entries = entriesOf(path_);
    ASSERT_EQ(entries.size(), 6U);
    EXPECT_EQ(entries[0].from, 20);
    EXPECT_THAT(entries[0].payload, HasSubstr("\"login\""));
    EXPECT_EQ(entries[1].from, 0);
    EXPECT_THAT(entries[1].payload, StartsWith("[\"RSP\", \"system.connection\", 0, 20, 0]\n"));
    EXPECT_EQ(entries[2].from, 20);
    EXPECT_EQ(entries[2].payload, kRequest);
    EXPECT_EQ(entries[3].from, 20);
    EXPECT_EQ(entries[3].payload, "bytes \xff");
    EXPECT_EQ(entries[5].from, 0) << "the answer to the heartbeat";
}

TEST_F(RecordTest, LosesNothingOfAFlood) {
    constexpr size_t kMessages = 20'000;
    ProgramProcess bus(recording());
    BusPeer client(portOf(bus.readLine()), 20);
    std::string burst;
    for (size_t number = 0; number < kMessages; ++number) {
        burst += framed("[\"NOT\", \"nobody\", 20, 0, 0]\n" + std::to_string(number));
    }
    ASSERT_TRUE(client.sendBytes(burst));
    EXPECT_TRUE(client.isQuiet());
    end(bus);

    const std::vector<Entry> entries = entriesOf(path_);
    ASSERT_EQ(entries.size(), 2 + kMessages + 2);
    for (size_t number = 0; number < kMessages; ++number) {
        ASSERT_THAT(entries[2 + number].payload, testing::EndsWith("\n" + std::to_string(number)));
    }
}

TEST_F(RecordTest, SaysOnceThatTheDiskIsFullAndGoesOnWithout) {
    // One block of 512 bytes, which the login and its answer fill, and no signal about it.
    ProgramProcess bus(inShell("trap '' XFSZ; ulimit -f 1; exec \"$@\"",
                               pallbusCommand({"--port=0", "--record", path_})));
    BusPeer client(portOf(bus.readLine()), 20);
    const std::string large(1024, ' ');
    client.send(kRequest + large);
    EXPECT_TRUE(client.isQuiet());
    // The file is written each second, and the next message finds out.
    while (!bus.hasErrors(0ms)) {
        ASSERT_TRUE(client.isQuiet());
    }
    EXPECT_EQ(directory_.read("bus.rec").size(), 512u);
    EXPECT_TRUE(client.isQuiet());
    EXPECT_TRUE(client.isQuiet());
    end(bus);
    EXPECT_EQ(bus.errors(), "pallbus: " + path_ + ": File too large; going on without recording\n");
}

TEST_F(RecordTest, SaysWhyItCannotBegin) {
    ProgramProcess bus(pallbusCommand({"--port=0", "--record=/nowhere/bus.rec"}));
    EXPECT_EQ(bus.wait(), 1);
    EXPECT_EQ(bus.errors(), "pallbus: /nowhere/bus.rec: No such file or directory\n");
}

// A bus that runs, and is told to record.
class RecordLaterTest : public RecordTest {
  protected:
    Outcome order(const std::vector<std::string>& words) {
        std::vector<std::string> all{"record", "--port", bus_.portText()};
        all.insert(all.end(), words.begin(), words.end());
        return runProgram(pallbusCommand(all));
    }

    std::string status() {
        return runProgram(pallbusCommand({"status", "--port", bus_.portText()})).output;
    }

    void expectDone(const std::vector<std::string>& words) {
        const Outcome outcome = order(words);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output + outcome.errors, "");
    }

    void expectRefused(const std::vector<std::string>& words, const std::string& why) {
        const Outcome outcome = order(words);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.errors, "pallbus: " + why + "\n");
    }

    BusProcess bus_;
    BusPeer client_{bus_.port(), 20};
};

TEST_F(RecordLaterTest, IsToldWhenToBeginAndWhenToEnd) {
    client_.send("before");
    EXPECT_TRUE(client_.isQuiet());
    expectDone({path_});
    EXPECT_EQ(status(), "no active faults\n# recording to " + path_ + "\n");
    client_.send(kRequest);
    EXPECT_TRUE(client_.isQuiet());
    expectDone({"--stop"});
    const std::vector<Entry> entries = entriesOf(path_);
    ASSERT_EQ(entries.size(), 3U) << "the request, a heartbeat and its answer";
    EXPECT_EQ(entries[0].payload, kRequest);
    client_.send("after");
    EXPECT_TRUE(client_.isQuiet());
    EXPECT_EQ(entriesOf(path_).size(), 3U);
    EXPECT_EQ(status(), "no active faults\n");
}

TEST_F(RecordLaterTest, BeginsTheFileOfWhoAskedAnew) {
    directory_.write("bus.rec", std::string(100'000, 'x'));
    const Outcome outcome =
        runProgram(inShell("cd '" + directory_.path("") + "' && exec \"$@\"",
                           pallbusCommand({"record", "bus.rec", "-p", bus_.portText()})));
    EXPECT_EQ(outcome.errors, "");
    expectDone({"--stop"});
    EXPECT_THAT(entriesOf(path_), testing::IsEmpty());
}

TEST_F(RecordLaterTest, IsOneAtATime) {
    expectRefused({"--stop"}, "not recording");
    expectDone({path_});
    directory_.write("other.rec", "mine");
    expectRefused({directory_.path("other.rec")}, "already recording to " + path_);
    EXPECT_EQ(directory_.read("other.rec"), "mine");
    const std::string absent = directory_.path("absent.rec");
    expectRefused({absent}, "already recording to " + path_);
    EXPECT_FALSE(std::filesystem::exists(absent));
    expectDone({"--stop"});
    expectDone({directory_.path("other.rec")});
    expectDone({"--stop"});
    EXPECT_THAT(entriesOf(directory_.path("other.rec")), testing::IsEmpty());
}

TEST_F(RecordLaterTest, IsRefusedAFileThatWhoAsksCannotWrite) {
    expectRefused({"/nowhere/bus.rec"}, "/nowhere/bus.rec: No such file or directory");
    EXPECT_EQ(runProgram(pallbusCommand({"record", "--port=1", path_})).errors,
              "pallbus: no bus on port 1\n");
    EXPECT_FALSE(std::filesystem::exists(path_));
    for (const auto& words :
         std::vector<std::vector<std::string>>{{path_, "drop"}, {"--stop", path_}, {}}) {
        EXPECT_EQ(order(words).status, 2);
    }
}

TEST_F(RecordLaterTest, CostsNobodyAMessageWhenTheDiskIsFull) {
    expectDone({"/dev/full"});
    while (!bus_.process().hasErrors(0ms)) {
        ASSERT_TRUE(client_.isQuiet());
    }
    EXPECT_EQ(bus_.process().readErrorLine(),
              "pallbus: /dev/full: No space left on device; going on without recording");
    EXPECT_TRUE(client_.isQuiet());
    expectRefused({"--stop"}, "not recording");
}

TEST_F(RecordLaterTest, CostsNobodyAMessageWhenTheDiskHangs) {
    ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    const int unread = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
    expectDone({path_});
    const std::string large(10'000'000, ' ');
    for (int number = 0; number < 8; ++number) {
        ASSERT_TRUE(client_.send(kRequest + large));
    }
    EXPECT_TRUE(client_.isQuiet());
    EXPECT_EQ(bus_.process().readErrorLine(),
              "pallbus: " + path_ + ": the disk is too slow; going on without recording");
    EXPECT_TRUE(client_.isQuiet());
    ::close(unread);
}

}  // namespace
