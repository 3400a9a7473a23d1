// The two entries of a change: a set is carried out, a reading is only published.

#include "systemstate/parameter_store.h"

#include <gmock/gmock.h>

#include "system_state_fixture.h"

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Sets = SystemStateTest;

TEST_F(Sets, AreAnnouncedWhenTheyDiffer) {
    run();
    state->parameters().setInteger("system.frameType", 3);
    state->parameters().setInteger("system.frameType", 3);
    state->parameters().setFloat("system.psu1Voltage", 12.5);
    state->parameters().setFloat("system.psu1Voltage", 12.5);
    state->parameters().setText("system.version", "5.0");
    state->parameters().setText("system.version", "5.0");
    EXPECT_THAT(announced, ElementsAre("system.frameType=3", "system.psu1Voltage=12.500000",
                                       "system.version=5.0"));
}

TEST_F(Sets, BelowThePrecisionAreQuiet) {
    run();
    state->parameters().setFloat("system.psu1Voltage", 12.5);
    state->parameters().setFloat("system.psu1Voltage", 12.501);
    EXPECT_EQ(announced.size(), 1U);
    EXPECT_EQ(valueOf("system.psu1Voltage"), "12.501000");
}

TEST_F(Sets, OfMissingParametersAndOtherKindsArePassedOver) {
    run();
    state->parameters().setInteger("system.nowhere", 1);
    state->parameters().setInteger("system.version", 1);
    state->parameters().setFloat("system.frameType", 1.0);
    state->parameters().setText("system.frameType", "1");
    EXPECT_THAT(announced, IsEmpty());
    EXPECT_EQ(valueOf("system.frameType"), "0");
}

TEST_F(Sets, RenamedParameterIsFoundUnderItsOldKey) {
    run();
    state->findParam("system.frameType")->setOid(ToskOID::fromParts("frameB.system", "frameType"));
    state->parameters().setInteger("system.frameType", 3);
    EXPECT_THAT(announced, ElementsAre("frameB.system.frameType=3"));
}

using Readings = SystemStateTest;

TEST_F(Readings, AreAnnouncedWhenTheyDiffer) {
    run();
    state->parameters().publishInteger("system.frameType", 3);
    state->parameters().publishInteger("system.frameType", 3);
    state->parameters().publishFloat("system.psu1Voltage", 12.5);
    state->parameters().publishFloat("system.psu1Voltage", 12.501);
    EXPECT_THAT(announced, ElementsAre("system.frameType=3", "system.psu1Voltage=12.500000"));
    EXPECT_EQ(valueOf("system.psu1Voltage"), "12.501000");
}

TEST_F(Readings, OfMissingParametersAndOtherKindsArePassedOver) {
    run();
    state->parameters().publishInteger("system.nowhere", 1);
    state->parameters().publishInteger("system.version", 1);
    state->parameters().publishFloat("system.frameType", 1.0);
    EXPECT_THAT(announced, IsEmpty());
}

TEST_F(Readings, SayWhetherTheyWereAnnounced) {
    run();
    EXPECT_TRUE(state->parameters().publishInteger("system.frameType", 3));
    EXPECT_FALSE(state->parameters().publishInteger("system.frameType", 3));
    EXPECT_FALSE(state->parameters().publishInteger("system.nowhere", 1));
    EXPECT_TRUE(state->parameters().publishFloat("system.psu1Voltage", 12.5));
    EXPECT_FALSE(state->parameters().publishFloat("system.psu1Voltage", 12.501));
}

TEST_F(Readings, AreNotCarriedOut) {
    run();
    for (const char* key : {"system.activeEthernet", "system.ipAddress", "system.gateway",
                            "system.restartNetwork", "system.generateReport"}) {
        state->parameters().publishInteger(key, 1);
        EXPECT_EQ(valueOf(key), "1");
    }
    for (const char* key : {"system.sshEnabled", "system.ftpEnabled", "system.ambrixEnabled"}) {
        state->parameters().publishInteger(key, 0);
        EXPECT_EQ(valueOf(key), "0");
    }
    EXPECT_EQ(announced.size(), 8U);
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_EQ(root.read(kNetworkFile), kNetworkConf);
}

TEST_F(Readings, OfNetworkSettingsAreCheckedAsASetIs) {
    run();
    state->parameters().publishInteger("system.ipAddress", 0x0A000006);
    std::vector<Line> ofReading = linesAboveDebug();
    state->parameters().publishInteger("system.ipAddress", 0x0A000005);
    log.take();
    set("system.ipAddress", std::to_string(0x0A000006));
    std::vector<Line> ofSet = linesAboveDebug();
    ASSERT_EQ(ofSet.at(4).text, "changed. restarting S40network and S81ambrix\n");
    ofSet.resize(4);
    EXPECT_EQ(ofReading, ofSet);
}

// After a tunnelled request a set of the parameter has no effect either.
TEST_F(Readings, OfARenamedNetworkSettingAreNotChecked) {
    run();
    state->findParam("system.ipAddress")->setOid(ToskOID::fromParts("frameB.system", "ipAddress"));
    state->parameters().publishInteger("system.ipAddress", 0x0A000006);
    EXPECT_THAT(announced, ElementsAre("frameB.system.ipAddress=167772166"));
    EXPECT_THAT(linesAboveDebug(), IsEmpty());
}

}  // namespace

}  // namespace systemstate
