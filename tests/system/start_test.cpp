// What the daemon logs and writes between the command line and the bus.

#include <syslog.h>

#include "harness/file_version.h"
#include "on_bus.h"

using namespace harness;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* kDeviceName = "/vantor/etc/deviceName";
constexpr const char* kDeviceLabels = "/vantor/app/tarna/node/deviceLabels.json";
constexpr const char* kLabel = "Studio frame";  // in the labels, beside the frame's address

LogLine local(int priority, const std::string& text) {
    return {priority, LOG_LOCAL2, "Pallwatch", text};
}

LogLine user(int priority, const std::string& text) {
    return {priority, LOG_USER, "Pallwatch", text};
}

auto logs(const std::string& beginning) {
    return testing::Contains(testing::Field(&LogLine::text, StartsWith(beginning)));
}

class StartLog : public OnBus {
  protected:
    StartLog() : OnBus("Tessara") {}
};

TEST_F(StartLog, TellsOfTheContainerTheNameAndTheServiceInThisOrder) {
    start();
    const std::string container = "systemState container could not ";
    const std::string file = "/vantor/etc/configurableSystemDetails.json";
    for (const LogLine& line :
         {user(LOG_CRIT, container + "open \"" + file + "\". previous copy used.\n"),
          user(LOG_CRIT, container + "open \"" + file + "\". Empty set used.\n"),
          local(LOG_ERR, "Not a valid JSON file: " + file + "\n"),
          local(LOG_INFO, "*DEBUG* Update UI Device Name: old[] new[Studio frame]\n"),
          local(LOG_INFO,
                "*DEBUG* Device Name is mismatched: device[Tessara] label[Studio frame]\n"),
          user(LOG_CRIT, container + "remove \"" + file + ".old\" (2).\n"),
          local(LOG_INFO, "SSH server restarted in Tessara, rv: 0\n"),
          local(LOG_INFO, "Kel Master Service initialization begins.")}) {
        EXPECT_EQ(log.waitFor(line.text), line);
    }
}

TEST_F(StartLog, BearsTheDaemonsNameWithoutItsNumber) {
    start();
    for (const LogLine& line : log.linesUntilNow()) {
        EXPECT_EQ(line.ident, "Pallwatch") << line.text;
    }
}

class DeviceName : public OnBus {
  protected:
    DeviceName() : OnBus("Tessara") {}

    void expectUpdate(const std::string& old) {
        EXPECT_EQ(log.waitFor("Update UI Device Name"),
                  local(LOG_INFO,
                        "*DEBUG* Update UI Device Name: old[" + old + "] new[" + kLabel + "]\n"));
        EXPECT_EQ(frame.read(kDeviceName), kLabel);
    }

    void expectNoUpdate() {
        EXPECT_THAT(log.linesUntilNow(), Not(logs("*DEBUG* Update UI Device Name")));
    }
};

TEST_F(DeviceName, TakesTheLabelAsItIs) {
    frame.write(kDeviceName, "A name that is longer than the label\nand a second line\n");
    start();
    expectUpdate("A name that is longer than the label");
    EXPECT_EQ(valueOf("frameName"), "\"Studio frame\"");
}

TEST_F(DeviceName, IsComparedWithCase) {
    frame.write(kDeviceName, "studio frame");
    start();
    expectUpdate("studio frame");
}

TEST_F(DeviceName, ThatIsRightStaysUntouched) {
    frame.write(kDeviceName, kLabel);
    const FileVersion before = versionOf(kDeviceName);
    start();
    EXPECT_EQ(versionOf(kDeviceName), before);
    expectNoUpdate();
}

TEST_F(DeviceName, OnlyItsFirstLineCounts) {
    frame.write(kDeviceName, "Studio frame\nand a second line\n");
    const FileVersion before = versionOf(kDeviceName);
    start();
    EXPECT_EQ(versionOf(kDeviceName), before);
    expectNoUpdate();
}

TEST_F(DeviceName, IsThatOfTheCardsOwnPort) {
    frame.write(kDeviceLabels,
                R"([{"port":"eth0-001122334400","label":"Another"},{"port":"eth0-001122334455"},)"
                R"({"port":"eth0-001122334455","label":"Studio frame"}])");
    start();
    expectUpdate("");
}

TEST_F(DeviceName, IsThatOfTheFirstPortWhenTheAddressIsMissing) {
    frame.remove("/sys/class/net/eth0/address");
    frame.write(kDeviceLabels, R"({"a":{"label":"none"},"b":{"port":"x","label":"Studio frame"}})");
    start();
    expectUpdate("");
}

class UnusableLabels : public DeviceName, public testing::WithParamInterface<const char*> {};

INSTANTIATE_TEST_SUITE_P(All, UnusableLabels,
                         testing::Values("", "{", "7", "[]", R"([{"port":7,"label":"Studio"}])",
                                         R"([{"port":"eth0-001122334455","label":7}])"));

TEST_P(UnusableLabels, LeaveTheNameAlone) {
    frame.write(kDeviceName, "Old name");
    frame.write(kDeviceLabels, GetParam());
    start();
    EXPECT_EQ(frame.read(kDeviceName), "Old name");
    EXPECT_EQ(valueOf("frameName"), "\"Tessara\"");
    expectNoUpdate();
}

TEST_F(DeviceName, WithoutLabelsIsLeftAlone) {
    frame.remove(kDeviceLabels);
    start();
    EXPECT_FALSE(frame.exists(kDeviceName));
    expectNoUpdate();
}

TEST_F(DeviceName, IsTheUserInterfacesOnFiveUnitFramesToo) {
    frame.write("/tmp/eeprom", "PRODUCT=tessara-5RU\n");
    start();
    expectUpdate("");
}

TEST_F(DeviceName, OfAnotherProductIsNotOurs) {
    frame.write("/tmp/eeprom", "PRODUCT=Quorane\n");
    start();
    EXPECT_FALSE(frame.exists(kDeviceName));
    expectNoUpdate();
    EXPECT_EQ(valueOf("frameName"), "\"Quorane\"");
}

TEST_F(DeviceName, OfARestartedFrameIsCorrectedInTheStateFile) {
    start();
    set(R"({"frameName":"Mine"})");
    EXPECT_EQ(valueOf("frameName"), "\"Mine\"");
    stop();
    start();
    EXPECT_EQ(valueOf("frameName"), "\"Studio frame\"");
    EXPECT_EQ(
        log.waitFor("mismatched: device[Mine]"),
        local(LOG_INFO, "*DEBUG* Device Name is mismatched: device[Mine] label[Studio frame]\n"));
    EXPECT_THAT(frame.read(kStateFile), testing::HasSubstr("\"value\":\t\"Studio frame\""));
}

using Product = OnBus;

TEST_F(Product, OfAnUnlabelledCardIsQuorane) {
    frame.remove("/tmp/eeprom");
    daemon.emplace();
    EXPECT_EQ(greeted()[3].at({"param", "frameName"}), "\"Quorane\"");
    daemon->output().waitFor("ERROR reading product string");
    EXPECT_THAT(daemon->output().text(), StartsWith("ERROR reading product string"));
}

TEST_F(Product, WithoutAPollTheSerialPortsAreTheOnlyTrace) {
    start();
    stop();
    EXPECT_EQ(daemon->output().waitForEnd(),
              "addSerialStatusParams oid=system.serial0\n"
              "addSerialStatusParams oid=system.serial1\n"
              "addSerialStatusParams oid=system.serial2\n"
              "Pallwatch caught signal:15 (ec: Success) - Stopping.\n");
    EXPECT_EQ(daemon->error().waitForEnd(), "");
}

}  // namespace
