// The scenarios of tools/scenarios, each played as it stands on a frame with the real daemon: what
// their comments promise is what the daemon publishes.

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <set>

#include "on_product.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/scenario.h"

using namespace harness;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::StartsWith;
namespace fs = std::filesystem;
namespace paths = pallframe::simulation::paths;

namespace {

constexpr const char* kLibrary = "tools/scenarios";

// One value of one parameter, as announced.
std::string is(const std::string& name, const std::string& value) {
    return name + "=" + value;
}

class OnScenario : public OnProduct {
  protected:
    explicit OnScenario(std::string_view name) : OnProduct(name) {}

    // From here on the scenario takes its course.
    void play(const std::string& name, const std::string& speed = "1") {
        player_.emplace(std::vector<std::string>{programDirectory() / "pallframe", "play",
                                                 "--speed", speed,
                                                 std::string(kLibrary) + "/" + name + ".scenario"});
    }

    void waitForItsEnd() {
        EXPECT_EQ(player_->waitForEnd(Deadline(std::chrono::minutes(1))), 0)
            << player_->error().text();
    }

    // Starts the daemon and takes in what its first polls find.
    void startAndPoll() {
        startAndSettle();
        waitForAnnouncement("psu2Voltage");
    }

    // The next message. Each heartbeat has something sent back: the daemon leaves a silent bus.
    BusMessage receive() {
        for (;;) {
            BusMessage message = bus.receive();
            if (!message.objectName.empty()) {
                return message;
            }
            bus.get("system", R"({"id":"alive@5","param":{"objectName":["systemName"]}})");
        }
    }

    // The next announcements of these parameters, whatever else is said between them.
    std::vector<std::string> next(size_t count, const std::set<std::string>& names) {
        std::vector<std::string> all;
        while (all.size() < count) {
            const BusMessage message = receive();
            if (message.type != "NOT") {
                continue;
            }
            for (const std::string& name : names) {
                const std::string value = message.at({"param", name.c_str()});
                if (!value.empty()) {
                    all.push_back(is(name, value));
                }
            }
        }
        return all;
    }

    std::string answerToSet() {
        for (;;) {
            const BusMessage message = receive();
            if (message.type == "RSP" && message.id() == "1@5") {
                return message.at({"statusCode"});
            }
        }
    }

    double nextVoltage(const std::string& name) {
        return std::stod(next(1, {name})[0].substr(name.size() + 1));
    }

  private:
    std::optional<Process> player_;
};

class ScenarioLibrary : public OnScenario {
  protected:
    ScenarioLibrary() : OnScenario("Quorane") {}
};

class TessaraScenarioLibrary : public OnScenario {
  protected:
    TessaraScenarioLibrary() : OnScenario("Tessara") {}
};

const std::set<std::string> kPorts{"ethPort1Status", "ethPort2Status", "activeEthernet"};

TEST_F(ScenarioLibrary, LinkFlap) {
    startAndPoll();
    play("link_flap");
    EXPECT_THAT(next(8, kPorts), ElementsAre(is("ethPort1Status", "0"), is("ethPort2Status", "1"),
                                             is("activeEthernet", "1"), is("ethPort1Status", "2"),
                                             is("ethPort1Status", "0"), is("ethPort1Status", "2"),
                                             is("ethPort1Status", "0"), is("ethPort1Status", "2")));
    waitForItsEnd();
}

TEST_F(ScenarioLibrary, BothLinksDown) {
    startAndPoll();
    play("both_links_down");
    EXPECT_THAT(next(3, kPorts), ElementsAre(is("ethPort1Status", "0"), is("ethPort2Status", "1"),
                                             is("activeEthernet", "1")));
    EXPECT_THAT(next(1, kPorts), ElementsAre(is("ethPort2Status", "0")));
    EXPECT_EQ(valueOf("activeEthernet"), "1");
    EXPECT_THAT(next(2, kPorts), ElementsAre(is("ethPort2Status", "1"), is("ethPort1Status", "2")));
    EXPECT_EQ(valueOf("activeEthernet"), "1");
}

// Ten times as fast: what is seen of it is its beginning and its end, by two daemons.
TEST_F(ScenarioLibrary, AgeingBattery) {
    startAndSettle();
    EXPECT_NEAR(nextVoltage("battVoltage"), 3.1, 0.01);
    play("ageing_battery", "10");
    waitForItsEnd();
    stop();
    startAndSettle();
    EXPECT_EQ(waitForAnnouncement("battVoltage"), "0");
}

TEST_F(ScenarioLibrary, FailingSupply) {
    startAndPoll();
    play("failing_supply");
    double lowest = 12;
    for (double volts = 12; volts <= lowest || volts <= 11; lowest = std::min(lowest, volts)) {
        volts = nextVoltage("psu2Voltage");
    }
    EXPECT_LT(lowest, 11) << "sags before it recovers";
    EXPECT_GT(lowest, 9);
    while (nextVoltage("psu2Voltage") > 1) {
    }
    EXPECT_NEAR(std::stod(valueOf("psu1Voltage")), 12, 0.01);
}

TEST_F(ScenarioLibrary, MissingFile) {
    const std::set<std::string> settings{"ipAddress", "netmask", "gateway"};
    startAndPoll();
    play("missing_file");
    EXPECT_THAT(next(3, settings),
                ElementsAre(is("ipAddress", "0"), is("netmask", "0"), is("gateway", "0")));
    EXPECT_EQ(log.waitFor("network.conf missing").priority, critical("").priority);
    EXPECT_THAT(next(3, settings),
                ElementsAre(is("ipAddress", "167772165"), is("netmask", "4294967040"),
                            is("gateway", "167772161")));
}

TEST_F(ScenarioLibrary, SlowScript) {
    startAndPoll();
    play("slow_script");
    const std::string pauses = std::string(paths::kPauses) + "/S40network";
    waitUntil([&] { return frame.read(pauses).starts_with("6"); }, "the script to be slow");
    mark();
    set(R"({"ipAddress":167772200})");
    EXPECT_EQ(waitForAnnouncement("ipAddress"), "167772200");
    waitForNewCommands(1);
    pallframe::simulation::setCable(frame.tree(), "eth1", false);
    for (BusMessage message = receive(); message.at({"param", "ethPort2Status"}).empty();) {
        ASSERT_NE(message.id(), "1@5") << "answered before the script ended";
        message = receive();
    }
    EXPECT_EQ(answerToSet(), "200");
    EXPECT_THAT(newCommands(), testing::Contains("/etc/init.d/S54openslp restart"));
}

TEST_F(ScenarioLibrary, FailingScript) {
    startAndPoll();
    play("failing_script");
    const std::string exits = std::string(paths::kExits) + "/S50dropbear";
    waitUntil([&] { return frame.read(exits) == "1"; }, "the script to fail");
    set(R"({"sshEnabled":0})");
    EXPECT_EQ(waitForAnnouncement("sshEnabled"), "0");
    EXPECT_EQ(answerToSet(), "200");
    EXPECT_THAT(log.waitFor("Error stopping SSH Server").text, StartsWith("Error"));
    EXPECT_EQ(frame.read(std::string(paths::kServices) + "/ssh"), "running");
    EXPECT_EQ(valueOf("sshEnabled"), "0");
}

TEST_F(ScenarioLibrary, EditedNetwork) {
    startAndPoll();
    mark();
    play("edited_network");
    EXPECT_THAT(next(2, {"ipAddress", "netmask", "gateway"}),
                ElementsAre(is("ipAddress", "167772237"), is("gateway", "167772414")));
    waitForItsEnd();
    EXPECT_THAT(newCommands(), testing::IsEmpty());
}

TEST_F(TessaraScenarioLibrary, LateDetection) {
    play("late_detection");
    waitUntil([&] { return !frame.exists(paths::kDetection); }, "the file to go");
    startAndPoll();
    EXPECT_EQ(valueOf("frameType"), "0");
    EXPECT_THAT(next(1, {"frameType"}), ElementsAre(is("frameType", "2")));
}

// "link_flap" as the name of its test.
std::string testNameOf(const std::string& file) {
    std::string name;
    bool starts = true;
    for (const char sign : file) {
        const auto byte = static_cast<unsigned char>(sign);
        if (sign != '_') {
            name += starts ? static_cast<char>(std::toupper(byte)) : sign;
        }
        starts = sign == '_';
    }
    return name;
}

std::set<std::string> testsOfLibrary() {
    std::set<std::string> names;
    const auto& all = *testing::UnitTest::GetInstance();
    for (int suite = 0; suite < all.total_test_suite_count(); ++suite) {
        const testing::TestSuite& tests = *all.GetTestSuite(suite);
        if (std::string(tests.name()).ends_with("ScenarioLibrary")) {
            for (int test = 0; test < tests.total_test_count(); ++test) {
                names.insert(tests.GetTestInfo(test)->name());
            }
        }
    }
    return names;
}

TEST(ScenarioFiles, EachSaysWhatItShowsAndHasATest) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(kLibrary)) {
        std::ifstream file(entry.path());
        const std::string text(std::istreambuf_iterator<char>(file), {});
        EXPECT_EQ(entry.path().extension(), ".scenario");
        EXPECT_THAT(text, StartsWith("# "));
        EXPECT_FALSE(pallframe::simulation::readScenario(text, entry.path().string()).empty());
        names.insert(testNameOf(entry.path().stem()));
    }
    EXPECT_GE(names.size(), 5U);
    EXPECT_THAT(testsOfLibrary(), ElementsAreArray(names));
}

}  // namespace
