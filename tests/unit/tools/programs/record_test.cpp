// pallbus --record from outside: what the file holds after things went over the bus.

#include <signal.h>

#include <gmock/gmock.h>

#include "bus_peer.h"
#include "program_process.h"
#include "recording/recording.h"
#include "support/temporary_directory.h"

namespace {

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
    ProgramProcess bus({"/bin/sh", "-c",
                        "trap '' XFSZ; ulimit -f 1; exec \"$0\" --port=0 --record \"$1\"",
                        pallbusCommand({}).front(), path_});
    BusPeer client(portOf(bus.readLine()), 20);
    const std::string large(1024, ' ');
    client.send(kRequest + large);
    EXPECT_TRUE(client.isQuiet());
    // The file is written each second, and the next message finds out.
    while (directory_.read("bus.rec").size() < 512) {
        EXPECT_TRUE(client.isQuiet());
    }
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

}  // namespace
