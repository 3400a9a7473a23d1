// pallctl watch from outside.

#include <signal.h>

#include <atomic>
#include <optional>
#include <thread>

#include <gmock/gmock.h>

#include "program_process.h"
#include "scripted_device.h"
#include "tools/listening_peer.h"

namespace {

using testing::MatchesRegex;

constexpr const char* kTime = "[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9][0-9][0-9]\t";

std::string voltage(const std::string& value) {
    return parameterJSON("psu1Voltage", "FLOAT", true, R"("precision":2,)", value);
}

ScriptedDevice::Parameters frame() {
    return {{"frameName", parameterJSON("frameName", "STRING", false, "", "\"Rack 4\"")},
            {"systemName", parameterJSON("systemName", "STRING", false, "", "\"System\"")},
            {"psu1Voltage", voltage("12")}};
}

// What arrives until that text has.
std::string readUntil(ListeningPeer& bus, const std::string& text) {
    std::string bytes;
    std::string more;
    while (bytes.find(text) == std::string::npos && !(more = bus.read()).empty()) {
        bytes += more;
    }
    EXPECT_NE(bytes.find(text), std::string::npos) << bytes;
    return bytes;
}

std::string lastIdIn(const std::string& bytes) {
    const std::string mark = "{\"id\":\"";
    const size_t begin = bytes.rfind(mark) + mark.size();
    return bytes.substr(begin, bytes.find('"', begin) - begin);
}

class WatchTest : public testing::Test {
  protected:
    WatchTest() {
        bus_.emplace();
        device_.emplace(bus_->port(), frame());
    }

    // Started with the table first, and read up to its end.
    void start(const std::vector<std::string>& names = {}) {
        std::vector<std::string> words{"watch", "--table"};
        words.insert(words.end(), names.begin(), names.end());
        watch_.emplace(pallctlCommand(bus_->port(), words));
        EXPECT_THAT(watch_->readLine(), testing::StartsWith("NAME"));
        for (size_t row = 0; row < (names.empty() ? 3 : names.size()); ++row) {
            EXPECT_THAT(watch_->readLine(), testing::StartsWith("system."));
        }
    }

    testing::Matcher<std::string> shows(const std::string& change) {
        return MatchesRegex(kTime + change);
    }

    std::optional<BusProcess> bus_;
    std::optional<ScriptedDevice> device_;
    std::optional<ProgramProcess> watch_;
};

TEST_F(WatchTest, PrintsTheTableAndThenOneLineForEachChange) {
    start();
    device_->announce("psu1Voltage", "11.5");
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t11.50"));
    device_->announce("systemName", "\"a\\nb\"");
    EXPECT_THAT(watch_->readLine(), shows("system.systemName\ta\\\\nb"));
}

TEST_F(WatchTest, PrintsDatesAndIsoTimes) {
    watch_.emplace(pallctlCommand(bus_->port(), {"watch", "--table", "--time=iso", "psu1Voltage"}));
    watch_->readLine();
    watch_->readLine();
    device_->announce("psu1Voltage", "11.5");
    EXPECT_THAT(watch_->readLine(),
                MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9:]{8}\\.[0-9]{3}[-+][0-9:]{5}"
                             "\tsystem.psu1Voltage\t11.50"));
    watch_.emplace(
        pallctlCommand(bus_->port(), {"watch", "--table", "--time=date", "psu1Voltage"}));
    watch_->readLine();
    watch_->readLine();
    device_->announce("psu1Voltage", "11");
    EXPECT_THAT(watch_->readLine(), MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}\\.[0-9]{3}"
                                                 "\tsystem.psu1Voltage\t11.00"));
}

TEST_F(WatchTest, PrintsNothingForAnnouncementsThatChangeNothing) {
    start();
    device_->announce("psu1Voltage", "12.001");
    device_->announce("systemName", "\"System\"");
    device_->announce("systemName", "\"last\"");
    EXPECT_THAT(watch_->readLine(), shows("system.systemName\tlast"));
}

TEST_F(WatchTest, ShowsOnlyTheNamesGiven) {
    start({"systemName"});
    device_->announce("psu1Voltage", "1");
    device_->announce("systemName", "\"last\"");
    EXPECT_THAT(watch_->readLine(), shows("system.systemName\tlast"));
}

TEST_F(WatchTest, ShowsWhatAPatternMatchesAlsoWhenItIsNew) {
    start({"psu*"});
    device_->announce("systemName", "\"first\"");
    device_->announce("psu1Voltage", "11.5");
    device_->announce("psuNew", "1");
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t11.50"));
    EXPECT_THAT(watch_->readLine(), shows("system.psuNew\t1"));
    EXPECT_EQ(pallctl(bus_->port(), {"watch", "psx*"}).errors, "pallctl: system.psx*: not found\n");
}

TEST_F(WatchTest, RefusesANameThatTheDeviceDoesNotHave) {
    const Outcome outcome = pallctl(bus_->port(), {"watch", "systemName", "nosuch"});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.errors, "pallctl: system.nosuch: not found\n");
}

TEST_F(WatchTest, ReadsAgainWhenTheDaemonIsNewOnTheBus) {
    start();
    device_->replace("psu1Voltage", voltage("9"));
    device_->announce("frameName", "\"Rack 4\"");
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t9.00"));
}

TEST_F(WatchTest, ReadsAgainWhenAnAnswerIsLost) {
    start();
    device_->replace("psu1Voltage", voltage("9"));
    device_->loseDescription();
    device_->announce("frameName", "\"Rack 4\"");
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t9.00"));
}

// Neither the old value after the new one, nor the new one twice.
TEST_F(WatchTest, PrintsAChangeOnceThatOvertookTheAnswerOfAReading) {
    start();
    device_->overtakeDescription("psu1Voltage", "11", voltage("11"));
    device_->announce("frameName", "\"Rack 4\"");
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t11.00"));
    device_->announce("systemName", "\"last\"");
    EXPECT_THAT(watch_->readLine(), shows("system.systemName\tlast"));
}

// The announcement said 11, but at the end of it all the device holds 10.
TEST_F(WatchTest, AsksAgainWhatAnAnswerContradicts) {
    start();
    device_->overtakeDescription("psu1Voltage", "11", voltage("10"));
    device_->announce("frameName", "\"Rack 4\"");
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t11.00"));
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t10.00"));
}

TEST_F(WatchTest, PrintsWhatChangesWhileItReadsForTheFirstTime) {
    device_->overtakeDescription("psu1Voltage", "11", voltage("11"));
    watch_.emplace(pallctlCommand(bus_->port(), {"watch"}));
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t11.00"));
}

TEST_F(WatchTest, PrintsObjectsForPrograms) {
    watch_.emplace(pallctlCommand(bus_->port(), {"watch", "--json", "--table"}));
    EXPECT_THAT(watch_->readLine(), testing::StartsWith("{"));
    device_->announce("psu1Voltage", "11.504");
    EXPECT_THAT(watch_->readLine(),
                MatchesRegex(R"(\{"time":"[-0-9]{10}T[:0-9]{8}\.[0-9]{3}[-+][0-9]{2}:[0-9]{2}",)"
                             R"("name":"system.psu1Voltage","value":11.504,"text":"11.50"\})"));
}

TEST_F(WatchTest, PrintsAssignmentsForAShell) {
    watch_.emplace(pallctlCommand(bus_->port(), {"watch", "-k", "--table"}));
    for (int row = 0; row < 3; ++row) {
        EXPECT_THAT(watch_->readLine(), testing::StartsWith("system_"));
    }
    device_->announce("psu1Voltage", "11.504");
    EXPECT_THAT(watch_->readLine(),
                MatchesRegex("time='[^']*' name='system.psu1Voltage' value='11.50'"));
}

TEST_F(WatchTest, PrintsEveryChangeOfTheWireFormWhenAskedForThat) {
    watch_.emplace(pallctlCommand(bus_->port(), {"watch", "--raw", "--table"}));
    for (int row = 0; row < 4; ++row) {
        watch_->readLine();
    }
    device_->announce("psu1Voltage", "12.001");
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t12.001"));
}

// Neither the reading nor its end waits for the device to fall silent.
TEST(WatchFlood, DoesNotKeepItFromGivingUp) {
    const BusProcess bus;
    BusPeer device(bus.port(), 8);
    std::atomic<bool> stop{false};
    std::thread flood([&] {
        while (!stop && device.send("[\"NOT\", \"system\", 8, 0, 0]\n{\"param\":{\"a\":1}}")) {
        }
    });
    const Outcome outcome = pallctl(bus.port(), {"watch", "--timeout=0.2"});
    stop = true;
    flood.join();
    EXPECT_EQ(outcome.status, 5);
    EXPECT_EQ(outcome.errors, "pallctl: system: no answer\n");
}

TEST_F(WatchTest, ComesBackWithTheBusAndPrintsWhatItHadMissed) {
    start();
    const std::string port = bus_->portText();
    device_.reset();
    bus_->process().signal(SIGKILL);
    bus_->process().wait();
    ProgramProcess bus(pallbusCommand({"--port", port}));
    ASSERT_EQ(bus.readLine(), "pallbus: listening on 127.0.0.1:" + port);

    auto parameters = frame();
    parameters["psu1Voltage"] = voltage("9");
    device_.emplace(bus_->port(), parameters);
    device_->announce("frameName", "\"Rack 4\"");
    EXPECT_THAT(watch_->readLine(), shows("system.psu1Voltage\t9.00"));
    device_->announce("systemName", "\"back\"");
    EXPECT_THAT(watch_->readLine(), shows("system.systemName\tback"));
    watch_->signal(SIGKILL);
    EXPECT_EQ(watch_->errors(),
              "pallctl: bus: connection lost, waiting\npallctl: bus: connected again\n");
}

TEST(WatchHeartbeat, LeavesABusThatAnswersNone) {
    ListeningPeer bus;
    ProgramProcess watch(pallctlCommand(bus.port(), {"watch"}));
    bus.accept();
    // Any answer to the last request will do: the device then has no parameters. As that may be an
    // answer that was lost, it is asked again, once.
    for (int reading = 0; reading < 2; ++reading) {
        const std::string id = lastIdIn(readUntil(bus, "\"paramDescriptor\"]"));
        bus.writeFrame("[\"RSP\", \"system\", 8, 0, 0]\n{\"id\":\"" + id + "\"}");
    }
    readUntil(bus, "[\"SET\", \"\", ");
    EXPECT_EQ(watch.readErrorLine(), "pallctl: bus: connection lost, waiting");
    bus.accept();
    readUntil(bus, "\"paramDescriptor\"]");
}

// A bus that accepts and says nothing has not come back.
TEST(WatchConnection, IsSaidToBeLostOnceAndBackWhenTheBusSpeaks) {
    ListeningPeer bus;
    ProgramProcess watch(pallctlCommand(bus.port(), {"watch", "--wait=20"}));
    for (int attempt = 0; attempt < 3; ++attempt) {
        bus.accept();
        readUntil(bus, "\"paramDescriptor\"]");
        bus.hangUp();
    }
    bus.accept();
    readUntil(bus, "\"paramDescriptor\"]");
    bus.writeFrame(R"(["RSP", "system.connection", 0, 0, 0]{"id":"login"})");
    EXPECT_EQ(watch.readErrorLine(), "pallctl: bus: receive: Connection reset by peer, waiting");
    EXPECT_EQ(watch.readErrorLine(), "pallctl: bus: connected");
    EXPECT_EQ(watch.readErrorLine(), "pallctl: system: not responding, waiting");
    const std::string id = lastIdIn(readUntil(bus, "\"paramDescriptor\"]"));
    bus.writeFrame("[\"RSP\", \"system\", 8, 0, 0]\n{\"id\":\"" + id + "\"}");
    bus.stopListening();
    watch.signal(SIGTERM);
}

TEST_F(WatchTest, EndsWhenItsPipeClosesAlsoWithoutAnyChange) {
    start();
    watch_->closeOutput();
    EXPECT_EQ(watch_->wait(), 0);
    EXPECT_EQ(watch_->errors(), "");
}

TEST_F(WatchTest, EndsWhenItsPipeClosesWhileThereIsNoBus) {
    start();
    bus_->process().signal(SIGKILL);
    bus_->process().wait();
    watch_->closeOutput();
    EXPECT_EQ(watch_->wait(), 0);
}

}  // namespace
