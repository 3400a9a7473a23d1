// The loop through the hardware: what is pulled, put back or swapped comes back as readings.

#include <syslog.h>

#include <cmath>

#include "on_product.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
namespace paths = pallframe::simulation::paths;

namespace {

class Hardware : public OnProduct {
  protected:
    explicit Hardware(std::string_view name) : OnProduct(name) {}

    // The next announcements, however many polls they take.
    std::vector<std::string> nextOnBus(size_t count) {
        std::vector<std::string> all;
        while (all.size() < count) {
            const BusMessage message = bus.receive();
            if (message.type == "NOT") {  // no heartbeat
                all.push_back(withoutId(message));
            }
        }
        return all;
    }

    void pull(const char* interface) const {
        pallframe::simulation::setCable(frame.tree(), interface, false);
    }
    void plug(const char* interface) const {
        pallframe::simulation::setCable(frame.tree(), interface, true);
    }
};

std::vector<LogLine> logOfPort(const std::string& interface, const std::string& was,
                               const std::string& now) {
    const std::string key = interface == "eth0" ? "ethPort1Status" : "ethPort2Status";
    return joined(
        {info("ETHERNET STATUS CHANGED : " + interface + ", was:" + was + ", now:" + now + "\n")},
        logOfChange(key, now));
}

std::string port1(const char* status) {
    return announced(std::string(R"({"ethPort1Status":)") + status + "}");
}

std::string port2(const char* status) {
    return announced(std::string(R"({"ethPort2Status":)") + status + "}");
}

std::string frameType(const char* type) {
    return announced(std::string(R"({"frameType":)") + type + "}");
}

std::string activePort(const char* position) {
    return announced(std::string(R"({"activeEthernet":)") + position + "}");
}

// What the first two polls make of a frame that has just been switched on. The voltages are the
// frame's 12 V and 3.1 V as 12 bits show them; a battery without its load has 3.35 V here.
struct FirstPolls {
    const char* product;
    const char* frameType;  // none: null
    int battery;            // reading
    const char* voltage;    // of that reading, in six decimals
};

void PrintTo(const FirstPolls& polls, std::ostream* out) {
    *out << polls.product;
}

class Polls : public Hardware, public testing::WithParamInterface<FirstPolls> {
  protected:
    Polls() : Hardware(GetParam().product) {}

    std::vector<LogLine> logOfFrameType() const {
        return GetParam().frameType == nullptr ? std::vector<LogLine>()
                                               : logOfChange("frameType", GetParam().frameType);
    }

    std::vector<std::string> batteryLoads() const {
        std::vector<std::string> commands = frame.commands();
        std::erase_if(commands, [](const std::string& command) {
            return command.find("devmem") == std::string::npos;
        });
        return commands;
    }

    static std::vector<LogLine> logOfVoltages(const std::string& battery) {
        return joined(logOfChange("battVoltage", battery),
                      joined(logOfChange("psu1Voltage", "11.999487"),
                             logOfChange("psu2Voltage", "11.999487")));
    }
};

// 3956 / 4096 x 3.21, 3757 / 4096 x 3.38, (2131 / 4096 + 0.6133) x 2.73448
INSTANTIATE_TEST_SUITE_P(On, Polls,
                         testing::Values(FirstPolls{"Quorane", nullptr, 2131, "3.099707"},
                                         FirstPolls{"Tessara", "2", 3956, "3.100283"},
                                         FirstPolls{"Tessara-5ru", "5", 3956, "3.100283"},
                                         FirstPolls{"KELI", nullptr, 3757, "3.100259"}),
                         [](const auto& one) { return identifierOf(one.param.product); });

TEST_P(Polls, BringThePortsFirstAndTheVoltagesSecond) {
    startAndSettle();
    std::vector<std::string> first{port1("1"), port2("2")};
    if (GetParam().frameType != nullptr) {
        first.push_back(frameType(GetParam().frameType));
    }
    EXPECT_THAT(nextOnBus(first.size()), ElementsAreArray(first));
    EXPECT_NEAR(std::stod(waitForAnnouncement("battVoltage")), std::stod(GetParam().voltage), 1e-6);
    EXPECT_EQ(waitForAnnouncement("psu1Voltage"), "11.9994873046875");
    EXPECT_EQ(waitForAnnouncement("psu2Voltage"), "11.9994873046875");
    const std::vector<LogLine> ports =
        joined(logOfPort("eth0", "0", "1"), logOfPort("eth1", "0", "2"));
    EXPECT_THAT(newLog(), ElementsAreArray(joined(joined(ports, logOfFrameType()),
                                                  logOfVoltages(GetParam().voltage))));
    const std::string sample = "sec[0]  ADC CHAN 13=" + std::to_string(GetParam().battery) + "\n";
    for (const LogLine& line : {info("Battery Sample = ON\n"), info("Battery Sample = OFF\n"),
                                info(sample), logOfChange("battVoltage", GetParam().voltage)[0]}) {
        EXPECT_EQ(log.waitFor(line.text), line);
    }
    EXPECT_THAT(batteryLoads(),
                ElementsAre("/sbin/devmem 0x8aa00014 32 0x01", "/sbin/devmem 0x8aa00014 32 0x00"));
    daemon->output().waitFor(std::string("\nBATT ") + GetParam().voltage + "\n");
}

// One product that reads its ports where Linux shows them, and one that reads a copy.
class Ports : public Hardware, public testing::WithParamInterface<const char*> {
  protected:
    Ports() : Hardware(GetParam()) {
        silenceVoltages();
        hide(paths::kDetection);
    }
};

INSTANTIATE_TEST_SUITE_P(On, Ports, testing::Values("Quorane", "Tessara"),
                         [](const auto& one) { return identifierOf(one.param); });

TEST_P(Ports, FollowTheirCablesAndTheBond) {
    pull("eth1");
    startAndSettle();
    EXPECT_THAT(nextOnBus(1), ElementsAre(port1("1")));
    plug("eth1");
    EXPECT_THAT(nextOnBus(1), ElementsAre(port2("2")));
    mark();
    pull("eth0");
    EXPECT_THAT(nextOnBus(3), ElementsAre(port1("0"), port2("1"), activePort("1")));
    const std::vector<LogLine> lines =
        joined(joined(logOfPort("eth0", "1", "0"), logOfPort("eth1", "2", "1")),
               logOfChange("activeEthernet", "1"));
    EXPECT_THAT(newLog(), ElementsAreArray(lines));
    pull("eth1");
    EXPECT_THAT(nextOnBus(1), ElementsAre(port2("0")));
    EXPECT_EQ(valueOf("activeEthernet"), "1") << "it was the last one";
    plug("eth0");
    EXPECT_THAT(nextOnBus(2), ElementsAre(port1("1"), activePort("0")));
    EXPECT_THAT(newCommands(), IsEmpty()) << "what the poll finds is never asked for";
}

TEST_P(Ports, OfAnUnknownStateAreShownAsSuch) {
    frame.write(onTessaraFrame(product) ? paths::kBondCopy : paths::kBond,
                std::string(onTessaraFrame(product) ? "" : "Driver: x\n\n") +
                    "Currently Active Slave: eth0\n\n"
                    "Slave Interface: eth1\nMII Status: upset\n\n"
                    "Slave Interface: eth0\nMII Status: going back\n");
    startAndSettle();
    EXPECT_THAT(nextOnBus(2), ElementsAre(port1("3"), port2("2")));
}

class Swap : public Hardware {
  protected:
    Swap() : Hardware("Quorane") { silenceVoltages(); }
};

TEST_F(Swap, ComesBackAsReadings) {
    startAndSettle();
    EXPECT_THAT(nextOnBus(2), ElementsAre(port1("1"), port2("2")));
    mark();
    set(R"({"activeEthernet":1})");
    EXPECT_EQ(withoutId(bus.receive()), activePort("1"));
    EXPECT_EQ(withoutId(bus.receive()), answered(200, "OK"));
    EXPECT_THAT(newCommands(), ElementsAre("/sbin/ifenslave --change-active bond0 eth1"));
    EXPECT_THAT(nextOnBus(2), ElementsAre(port1("2"), port2("1")));
    EXPECT_EQ(valueOf("activeEthernet"), "1");
    set(R"({"activeEthernet":0})");
    EXPECT_THAT(nextOnBus(3), ElementsAre(activePort("0"), port1("1"), port2("2")));
}

// The value stays what was asked for until the active port changes.
TEST_F(Swap, ToAPortWithoutACableChangesNothing) {
    pull("eth1");
    startAndSettle();
    EXPECT_THAT(nextOnBus(1), ElementsAre(port1("1")));
    set(R"({"activeEthernet":1})");
    EXPECT_EQ(withoutId(bus.receive()), activePort("1"));
    EXPECT_EQ(withoutId(bus.receive()), answered(200, "OK"));
    plug("eth1");
    EXPECT_THAT(nextOnBus(1), ElementsAre(port2("2")));
    EXPECT_EQ(valueOf("activeEthernet"), "1");
    pull("eth1");
    plug("eth1");
    set(R"({"activeEthernet":2})");
    EXPECT_EQ(nextOnBus(2)[1], activePort("0")) << "the index of the port that is active";
}

// A supply as the converter shows it: 12 bits, of 29.1 V.
double supplyVolts(int reading) {
    return reading * 29.1 / 4096;
}

int readingOfSupply(double volts) {
    return static_cast<int>(std::lround(volts / 29.1 * 4096));
}

class Supplies : public Hardware {
  protected:
    Supplies() : Hardware("Quorane") {}

    double voltage(const char* name) { return std::stod(waitForAnnouncement(name)); }
};

TEST_F(Supplies, AreReadAsTheyAreAndThenSmoothed) {
    pallframe::simulation::setSupply(frame.tree(), 2, 11.9);
    startAndSettle();
    int word = readingOfSupply(12.0);
    EXPECT_DOUBLE_EQ(voltage("psu1Voltage"), supplyVolts(word));
    EXPECT_DOUBLE_EQ(voltage("psu2Voltage"), supplyVolts(readingOfSupply(11.9)));
    pallframe::simulation::setSupply(frame.tree(), 1, 0);
    for (int poll = 0; poll < 3; ++poll) {
        word = 3 * word / 4;
        EXPECT_DOUBLE_EQ(voltage("psu1Voltage"), supplyVolts(word));
    }
    pallframe::simulation::setSupply(frame.tree(), 1, 12.0);
    EXPECT_DOUBLE_EQ(voltage("psu1Voltage"), supplyVolts((3 * word + readingOfSupply(12.0)) / 4));
}

class Battery : public Hardware {
  protected:
    Battery() : Hardware("KELI") {}
};

// Each start samples it: while the daemon runs it takes 151 polls.
TEST_F(Battery, ReadsZeroWhileItIsTakenOut) {
    pallframe::simulation::setBattery(frame.tree(), 0);
    startAndSettle();
    EXPECT_EQ(waitForAnnouncement("battVoltage"), "0");
    daemon->output().waitFor("\nBATT 0.000000\n");
    stop();
    pallframe::simulation::setBattery(frame.tree(), 3.1);
    start();
    EXPECT_NEAR(std::stod(waitForAnnouncement("battVoltage")), 3.1, 3.38 / 4096);
}

class FrameType : public Hardware {
  protected:
    FrameType() : Hardware("Tessara") { silenceVoltages(); }
};

TEST_F(FrameType, IsLookedForUntilItIsThereAndNoLonger) {
    hide(paths::kDetection);
    startAndSettle();
    EXPECT_THAT(nextOnBus(2), ElementsAre(port1("1"), port2("2")));
    EXPECT_EQ(valueOf("frameType"), "0");
    frame.write(paths::kDetection, "Frame Type: none\n");
    EXPECT_EQ(log.waitFor("Frame Type").priority, LOG_ERR);
    frame.remove(paths::kDetection);
    show(paths::kDetection);
    EXPECT_THAT(nextOnBus(1), ElementsAre(frameType("2")));
    frame.write(paths::kDetection, "Frame Type: 9\n");
    pull("eth1");
    EXPECT_THAT(nextOnBus(1), ElementsAre(port2("0")));
    EXPECT_EQ(valueOf("frameType"), "2");
}

class FrameTypeElsewhere : public Hardware {
  protected:
    FrameTypeElsewhere() : Hardware("KELI") { silenceVoltages(); }
};

TEST_F(FrameTypeElsewhere, IsNotLookedFor) {
    frame.write(paths::kDetection, "Frame Type: 2\n");
    startAndSettle();
    EXPECT_THAT(nextOnBus(2), ElementsAre(port1("1"), port2("2")));
    EXPECT_EQ(valueOf("frameType"), "0");
}

}  // namespace
