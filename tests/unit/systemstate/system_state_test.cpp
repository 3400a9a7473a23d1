// The device while it runs: the controller pair, readings, and what the two threads share.

#include "systemstate/system_state.h"

#include <future>
#include <thread>

#include <gmock/gmock.h>

#include "system_state_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const ControllerDetails kFirst = {"10.0.0.1", true, true, "1.2"};
const ControllerDetails kSecond = {"10.0.0.2", true, false, "1.3"};

using Redundancy = SystemStateTest;

TEST_F(Redundancy, StartsWithoutKnowledge) {
    boot();
    EXPECT_EQ(state->masterDetails(), MasterSystemDetails());
    EXPECT_EQ(valueOf("system.activeKeli"), "1");
}

TEST_F(Redundancy, UpdateIsStored) {
    run();
    state->updateRedundancy(kFirst, kSecond);
    EXPECT_EQ(state->masterDetails(), (MasterSystemDetails{kFirst, kSecond}));
}

TEST_F(Redundancy, UpdateSetsTheNineInTheirOrder) {
    run();
    const ControllerDetails other = {"10.0.0.2", true, true, "1.3"};
    state->updateRedundancy(kFirst, other);
    EXPECT_THAT(announced,
                ElementsAre("system.activeKeli=0", "system.primaryIPAddress=10.0.0.1",
                            "system.primaryPresent=1", "system.primaryActive=1",
                            "system.primaryVersion=1.2", "system.secondaryIPAddress=10.0.0.2",
                            "system.secondaryPresent=1", "system.secondaryActive=1",
                            "system.secondaryVersion=1.3"));
}

TEST_F(Redundancy, OnlyRealChangesAreAnnounced) {
    run();
    state->updateRedundancy(kFirst, kSecond);
    announced.clear();
    state->updateRedundancy(kFirst, kSecond);
    EXPECT_THAT(announced, IsEmpty());
    state->updateRedundancy({"10.0.0.1", true, false, "1.2"}, {"10.0.0.2", true, true, "1.3"});
    EXPECT_THAT(announced, ElementsAre("system.activeKeli=1", "system.primaryActive=0",
                                       "system.secondaryActive=1"));
}

TEST_F(Redundancy, WithoutAnActivePrimaryTheSecondaryIsActive) {
    run();
    state->updateRedundancy({}, {});
    EXPECT_EQ(valueOf("system.activeKeli"), "1");
    EXPECT_THAT(announced, IsEmpty());
}

TEST_F(Redundancy, MissingParametersArePassedOver) {
    construct();
    state->updateRedundancy(kFirst, kSecond);
    state->buildIdentityGroup("");
    state->updateRedundancy(kFirst, kSecond);
    EXPECT_EQ(state->masterDetails().primary, kFirst);
}

TEST_F(Redundancy, DetailsKnownBeforeTheCatalogueAreItsInitialValues) {
    construct();
    state->updateRedundancy(kFirst, kSecond);
    state->buildIdentityGroup("");
    printedBy([this] { state->buildCatalogue(); });
    EXPECT_EQ(valueOf("system.activeKeli"), "0");
    EXPECT_EQ(valueOf("system.primaryIPAddress"), "10.0.0.1");
    EXPECT_EQ(valueOf("system.primaryPresent"), "1");
    EXPECT_EQ(valueOf("system.primaryActive"), "1");
    EXPECT_EQ(valueOf("system.primaryVersion"), "1.2");
    EXPECT_EQ(valueOf("system.secondaryIPAddress"), "10.0.0.2");
    EXPECT_EQ(valueOf("system.secondaryPresent"), "1");
    EXPECT_EQ(valueOf("system.secondaryActive"), "0");
    EXPECT_EQ(valueOf("system.secondaryVersion"), "1.3");
}

using Readings = SystemStateTest;

TEST_F(Readings, AreAnnouncedWhenTheyDiffer) {
    run();
    state->setInteger("system.frameType", 3);
    state->setInteger("system.frameType", 3);
    state->setFloat("system.psu1Voltage", 12.5);
    state->setFloat("system.psu1Voltage", 12.5);
    state->setText("system.version", "5.0");
    state->setText("system.version", "5.0");
    EXPECT_THAT(announced, ElementsAre("system.frameType=3", "system.psu1Voltage=12.500000",
                                       "system.version=5.0"));
}

TEST_F(Readings, BelowThePrecisionAreQuiet) {
    run();
    state->setFloat("system.psu1Voltage", 12.5);
    state->setFloat("system.psu1Voltage", 12.501);
    EXPECT_EQ(announced.size(), 1U);
    EXPECT_EQ(valueOf("system.psu1Voltage"), "12.501000");
}

TEST_F(Readings, OfMissingParametersAndOtherKindsArePassedOver) {
    run();
    state->setInteger("system.nowhere", 1);
    state->setInteger("system.version", 1);
    state->setFloat("system.frameType", 1.0);
    state->setText("system.frameType", "1");
    EXPECT_THAT(announced, IsEmpty());
    EXPECT_EQ(valueOf("system.frameType"), "0");
}

TEST_F(Readings, RenamedParameterIsFoundUnderItsOldKey) {
    run();
    state->findParam("system.frameType")->setOid(ToskOID::fromParts("frameB.system", "frameType"));
    state->setInteger("system.frameType", 3);
    EXPECT_THAT(announced, ElementsAre("frameB.system.frameType=3"));
}

using SettingsTurn = SystemStateTest;

TEST_F(SettingsTurn, BelongsToOneThreadAtATime) {
    construct();
    const auto anotherGetsIt = [this] {
        return std::async(std::launch::async,
                          [this] { return state->trySettingsTurn().owns_lock(); })
            .get();
    };
    EXPECT_TRUE(anotherGetsIt());
    {
        const std::unique_lock<std::mutex> turn = state->takeSettingsTurn();
        EXPECT_FALSE(anotherGetsIt());
    }
    EXPECT_TRUE(anotherGetsIt());
}

TEST_F(SettingsTurn, SetWaitsForTheOneWhoHasIt) {
    construct();
    std::unique_lock<std::mutex> turn = state->trySettingsTurn();
    ASSERT_TRUE(turn.owns_lock());
    bool released = false;
    auto other = std::async(std::launch::async, [&] {
        const std::unique_lock<std::mutex> own = state->takeSettingsTurn();
        return released;
    });
    released = true;
    turn.unlock();
    EXPECT_TRUE(other.get());
}

}  // namespace
