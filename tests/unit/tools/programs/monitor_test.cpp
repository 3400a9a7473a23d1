// pallctl monitor from outside.

#include <signal.h>
#include <unistd.h>

#include <optional>

#include <gmock/gmock.h>

#include "program_process.h"
#include "recording/recording.h"
#include "scripted_device.h"
#include "support/temporary_directory.h"
#include "tools/listening_peer.h"
#include "util/files.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;

constexpr const char* kTime = "[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9][0-9][0-9]  ";

class MonitorTest : public testing::Test {
  protected:
    MonitorTest() {
        bus_.emplace();
        device_.emplace(bus_->port(), ScriptedDevice::Parameters{});
    }

    // Started, and seen to be subscribed: announcements of another object come until one shows.
    void start(std::vector<std::string> words) {
        words.insert(words.begin(), "monitor");
        monitor_.emplace(pallctlCommand(bus_->port(), words));
        BusPeer helper(bus_->port(), 77);
        while (!monitor_->hasOutput(std::chrono::milliseconds(20))) {
            helper.send("[\"NOT\", \"hello\", 77, 0, 0]\n{\"id\":\"h\"}");
        }
        helper.send("[\"NOT\", \"ready\", 77, 0, 0]\n{\"id\":\"h\"}");
        while (monitor_->readLine().find("ready") == std::string::npos) {
        }
    }

    std::optional<BusProcess> bus_;
    std::optional<ScriptedDevice> device_;
    std::optional<ProgramProcess> monitor_;
};

// And not only together with its first heartbeat.
TEST(MonitorProcess, SubscribesAtOnce) {
    ListeningPeer bus;
    const ProgramProcess monitor(pallctlCommand(bus.port(), {"monitor"}));
    bus.accept();
    std::string bytes;
    while (bytes.find("subscribeList") == std::string::npos) {
        const std::string more = bus.read();
        ASSERT_NE(more, "") << bytes;
        bytes += more;
    }
    EXPECT_EQ(bytes.find("[\"SET\", \"\", "), std::string::npos) << bytes;
}

TEST_F(MonitorTest, PrintsQuestionsAnswersAndAnnouncements) {
    start({});
    device_->announce("psu1Voltage", "11.5");
    EXPECT_THAT(monitor_->readLine(),
                MatchesRegex(std::string(kTime) +
                             "NOT     pallwatch -> \\*          system  psu1Voltage=11.5  n"));
    BusPeer asker(bus_->port(), 5);
    asker.send(
        "[\"GET\", \"system\", 5, 0, 0]\n{\"id\":\"1@5\",\"param\":{\"objectName\":"
        "[\"paramDescriptor\"]}}");
    EXPECT_THAT(monitor_->readLine(),
                MatchesRegex(std::string(kTime) +
                             "GET             5 -> \\*          system  paramDescriptor  1@5"));
    EXPECT_THAT(
        monitor_->readLine(),
        MatchesRegex(std::string(kTime) +
                     "RSP     pallwatch -> 5          system  200 OK paramDescriptor=.*  1@5"));
}

TEST_F(MonitorTest, PrintsTheNamesOfClients) {
    start({});
    const Outcome set = pallctl(bus_->port(), {"set", "--force", "a=1"});
    EXPECT_EQ(set.status, 4);
    while (monitor_->readLine().find("SET       pallctl -> *          system  a=1") ==
           std::string::npos) {
    }
    EXPECT_THAT(monitor_->readLine(), HasSubstr("RSP     pallwatch -> pallctl    system  404"));
}

TEST_F(MonitorTest, PrintsDatesAndIsoTimes) {
    start({"--time=date"});
    device_->announce("a", "1");
    EXPECT_THAT(monitor_->readLine(),
                MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}\\.[0-9]{3}  NOT .*"));
    start({"--time", "iso"});
    device_->announce("a", "1");
    EXPECT_THAT(
        monitor_->readLine(),
        MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\\.[0-9]{3}[-+][0-9:]{5}  NOT .*"));
    EXPECT_EQ(pallctl(bus_->port(), {"monitor", "--time=short"}).status, 2);
}

TEST_F(MonitorTest, PrintsWholeObjectsForPrograms) {
    start({"--json"});
    device_->announce("psu1Voltage", "11.5");
    EXPECT_THAT(monitor_->readLine(),
                EndsWith(R"("type":"NOT","from":8,"fromName":"pallwatch","to":0,)"
                         R"("toName":null,"object":"system",)"
                         R"("data":{"id":"n","param":{"psu1Voltage":11.5}}})"));
}

TEST_F(MonitorTest, TakesTheObjectOptionForOneMoreObject) {
    start({"ready", "hello", "--object", "other"});
    device_->announce("psu1Voltage", "11.5");
    BusPeer sender(bus_->port(), 5);
    sender.send("[\"NOT\", \"other.below\", 5, 0, 0]\n{\"id\":\"wanted\"}");
    EXPECT_THAT(monitor_->readLine(), EndsWith("  other.below  wanted"));
}

TEST_F(MonitorTest, PrintsOnlyTheObjectsAndTypesAskedFor) {
    start({"ready", "hello", "other", "--type", "NOT", "--type", "SET"});
    BusPeer sender(bus_->port(), 5);
    sender.send("[\"GET\", \"other\", 5, 0, 0]\n{\"id\":\"type\"}");
    sender.send("[\"NOT\", \"others\", 5, 0, 0]\n{\"id\":\"object\"}");
    sender.send("[\"SET\", \"other.below\", 5, 0, 0]\n{\"id\":\"wanted\"}");
    EXPECT_THAT(monitor_->readLine(), EndsWith("  other.below  wanted"));
}

TEST_F(MonitorTest, TakesSeveralTypesAtOnceAndInAnyCase) {
    start({"--type", "not,Set"});
    BusPeer sender(bus_->port(), 5);
    sender.send("[\"GET\", \"other\", 5, 0, 0]\n{\"id\":\"type\"}");
    sender.send("[\"SET\", \"other\", 5, 0, 0]\n{\"id\":\"wanted\"}");
    EXPECT_THAT(monitor_->readLine(), EndsWith("  other  wanted"));
}

TEST_F(MonitorTest, RefusesATypeThatTheBusDoesNotKnow) {
    const Outcome outcome = pallctl(bus_->port(), {"monitor", "--type", "SHOUT"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.errors, MatchesRegex("pallctl: [^\n]+\n"));
}

TEST_F(MonitorTest, RecordsTheBytesAsTheyCame) {
    const TemporaryDirectory directory;
    const std::string file = directory.path() + "/traffic.rec";
    start({"--record", file});
    const std::string payload = "[\"NOT\", \"system\", 5, 0, 0]\n {\"id\" : \"\xff\x1b\" }";
    BusPeer(bus_->port(), 5).send(payload);
    monitor_->readLine();
    monitor_->signal(SIGTERM);
    EXPECT_EQ(monitor_->wait(), 0);

    recording::Reader reader(file);
    EXPECT_EQ(reader.header().by, "pallctl");
    recording::Entry last;
    while (const auto entry = reader.next()) {
        last = *entry;
    }
    EXPECT_EQ(last.payload, payload);
    EXPECT_EQ(last.from, 5);
    EXPECT_EQ(reader.truncation(), std::nullopt);
}

TEST_F(MonitorTest, SaysWhyItCannotRecord) {
    const Outcome outcome = pallctl(bus_->port(), {"monitor", "--record", "/no/such/file"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, MatchesRegex("pallctl: /no/such/file: [^\n]+\n"));
}

TEST(MonitorWithoutBus, LeavesAnOlderRecordingAsItIs) {
    const TemporaryDirectory directory;
    const std::string file = directory.path() + "/keep.rec";
    util::saveTextFile(file, "an hour of work\n");
    EXPECT_EQ(pallctl(1, {"monitor", "--record", file}).status, 6);
    ProgramProcess waiting(pallctlCommand(1, {"monitor", "--wait=60", "--record", file}));
    EXPECT_THAT(waiting.readErrorLine(), EndsWith(", waiting"));
    waiting.signal(SIGTERM);
    EXPECT_EQ(waiting.wait(), 0);
    EXPECT_EQ(util::readFile(file, true), "an hour of work\n");
}

TEST_F(MonitorTest, ComesBackWithTheBus) {
    start({});
    const std::string port = bus_->portText();
    bus_->process().signal(SIGKILL);
    bus_->process().wait();
    EXPECT_EQ(monitor_->readErrorLine(), "pallctl: bus: connection lost, waiting");
    ProgramProcess bus(pallbusCommand({"--port", port}));
    bus.readLine();
    EXPECT_EQ(monitor_->readErrorLine(), "pallctl: bus: connected again");
    BusPeer sender(bus_->port(), 5);
    while (!monitor_->hasOutput(std::chrono::milliseconds(20))) {
        sender.send("[\"NOT\", \"system\", 5, 0, 0]\n{\"id\":\"again\"}");
    }
    EXPECT_THAT(monitor_->readLine(), HasSubstr("again"));
}

TEST_F(MonitorTest, EndsWhenItsPipeCloses) {
    start({});
    monitor_->closeOutput();
    EXPECT_EQ(monitor_->wait(), 0);
    EXPECT_EQ(monitor_->errors(), "");
}

TEST(Monitor, SaysThatThereIsNoBus) {
    const Outcome outcome = pallctl(1, {"monitor"});
    EXPECT_EQ(outcome.status, 6);
    EXPECT_THAT(outcome.errors, MatchesRegex("pallctl: no bus on 127.0.0.1:1: [^\n]+\n"));
}

}  // namespace
