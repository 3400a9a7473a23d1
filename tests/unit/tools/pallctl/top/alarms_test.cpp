#include "pallctl/top/alarms.h"

#include <gmock/gmock.h>

#include "messages.h"

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class AlarmsTest : public DeviceStateFixture {
  protected:
    bool alarms(const std::string& leaf) const { return isAlarming(state, leaf, now); }
    std::vector<std::string> alarming() const {
        std::vector<std::string> leaves;
        for (const client::Parameter* parameter : findAlarming(state, now)) {
            leaves.push_back(state.leafName(*parameter));
        }
        return leaves;
    }
};

TEST_F(AlarmsTest, ASupplyAlarmsOutsideItsUsualRange) {
    for (const auto& [volts, expected] :
         {std::pair{"11.39", true}, {"11.4", false}, {"12.6", false}, {"12.61", true}}) {
        describe({descriptor("psu1Voltage", "FLOAT", volts)});
        EXPECT_EQ(alarms("psu1Voltage"), expected) << volts;
    }
}

TEST_F(AlarmsTest, AReadingIsComparedAsItIsShown) {
    for (const auto& [volts, expected] :
         {std::pair{"11.394", true}, {"11.396", false}, {"12.604", false}, {"12.606", true}}) {
        describe({descriptor("psu1Voltage", "FLOAT", volts, R"(,"precision":2)")});
        EXPECT_EQ(alarms("psu1Voltage"), expected) << volts;
    }
}

TEST_F(AlarmsTest, AnEmptyBatteryAlarmsAndOneThatWasNotMeasuredDoesNot) {
    describe({descriptor("battVoltage", "FLOAT", "-1")});
    EXPECT_FALSE(alarms("battVoltage"));
    announce(R"("battVoltage":0)");
    EXPECT_TRUE(alarms("battVoltage"));
    announce(R"("battVoltage":3.1)");
    EXPECT_FALSE(alarms("battVoltage"));
}

TEST_F(AlarmsTest, ASupplyThatIsDeadFromTheBeginningAlarmsOnceTheOtherWasMeasured) {
    describe({descriptor("psu1Voltage", "FLOAT", "12"), descriptor("psu2Voltage", "FLOAT", "0"),
              descriptor("battVoltage", "FLOAT", "-1")});
    EXPECT_FALSE(alarms("psu2Voltage")) << "its first reading may follow in the same poll";
    now += 1s;
    EXPECT_THAT(alarming(), ElementsAre("psu2Voltage"));
}

TEST_F(AlarmsTest, ADaemonThatHasNotMeasuredYetDoesNotAlarm) {
    const std::vector<std::string> atStart{
        descriptor("ethPort1Status", "INT32", "0"), descriptor("psu1Voltage", "FLOAT", "0"),
        descriptor("psu2Voltage", "FLOAT", "0"), descriptor("battVoltage", "FLOAT", "-1")};
    describe(atStart);
    now += 10s;
    EXPECT_THAT(alarming(), IsEmpty());
    announce(R"("psu1Voltage":12)");
    announce(R"("psu2Voltage":12)");
    now += 10s;
    describe(atStart);
    now += 10s;
    EXPECT_FALSE(alarms("psu1Voltage")) << "started once more";
}

TEST_F(AlarmsTest, APortWithoutLinkAlarmsIfPortsAreMeasured) {
    describe({descriptor("ethPort1Status", "INT32", "1"),
              descriptor("ethPort2Status", "INT32", "0"), descriptor("psu1Voltage", "FLOAT", "0"),
              descriptor("psu2Voltage", "FLOAT", "0"), descriptor("battVoltage", "FLOAT", "-1")});
    EXPECT_THAT(alarming(), ElementsAre("ethPort2Status"));
}

TEST_F(AlarmsTest, OtherParametersAndOtherDevicesHaveNoRange) {
    announce(R"("ipAddress":0,"systemName":"x")");
    EXPECT_THAT(alarming(), IsEmpty());
    EXPECT_FALSE(isUnusual(state, "ipAddress", -1));
    EXPECT_FALSE(isUnusual(state, "nothing", -1));
    DeviceState mixer("mixer");
    mixer.take(received("[\"NOT\", \"mixer\", 8, 0, 0]\n{\"param\":{\"psu1Voltage\":1}}"), now);
    EXPECT_THAT(findAlarming(mixer, now), IsEmpty());
}

}  // namespace
}  // namespace pallctl::top
