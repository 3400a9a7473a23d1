// The device while it runs: the controller pair, readings, and what the two threads share.

#include "systemstate/system_state.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <future>
#include <thread>

#include <gmock/gmock.h>

#include "system_state_fixture.h"
#include "xadc_dump_samples.h"

namespace systemstate {

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

// One thread sets, the other polls, and somebody else edits the file all the time.
class TwoThreads : public SystemStateTest {
  protected:
    TwoThreads() {
        root.write("/sys/devices/amba.1/f8007100.xadc/registers", kDump);
        run();
    }
    ~TwoThreads() override { stopPolling(); }

    void startPolling() {
        poller = std::thread([this] {
            while (!stopped) {
                state->poll();
            }
        });
    }

    void stopPolling() {
        stopped = true;
        if (poller.joinable()) {
            poller.join();
        }
    }

    // As an editor does it: the file is the old one or the new one, never a part.
    void edit(const std::string& ip, const std::string& gateway) const {
        root.write("/vantor/etc/edited",
                   "IPADDR=" + ip + "\nNETMASK=255.255.255.0\nGATEWAY=" + gateway + "\n");
        std::filesystem::rename(root.path() + "/vantor/etc/edited", root.path() + kNetworkFile);
    }

    void setFromRequest(const std::string& key, const std::string& json) {
        state->setFromRequest(*state->findParam(key), parse(json).get());
    }

    bool wasChecked(const std::string& ip) {
        const std::vector<Line> lines = log.take();
        return std::any_of(lines.begin(), lines.end(), [&](const Line& line) {
            return line.text.find("checking ifconfig ip=" + ip + ' ') != std::string::npos;
        });
    }

    std::atomic<bool> stopped = false;
    std::thread poller;
};

TEST_F(TwoThreads, RequestIsNotLostToAnEditAtTheSameMoment) {
    state->setParamChanged_cb(nullptr);
    startPolling();
    for (uint32_t round = 1; round <= 250; ++round) {
        const std::string wanted = "10.0.1." + std::to_string(round);
        edit("10.0.0." + std::to_string(round), "10.0.2." + std::to_string(round));
        setFromRequest("system.ipAddress", std::to_string(0x0A000100 + round));
        EXPECT_TRUE(wasChecked(wanted)) << wanted;
    }
}

TEST_F(TwoThreads, EditsAloneRunNothing) {
    state->setParamChanged_cb(nullptr);
    startPolling();
    for (int round = 1; round <= 250; ++round) {
        edit("10.0.0." + std::to_string(round), "10.0.2." + std::to_string(round));
    }
    stopPolling();
    state->poll();
    for (const std::string& command : machine->take()) {
        EXPECT_THAT(command, testing::Not(testing::HasSubstr("/etc/init.d")));
    }
    EXPECT_EQ(root.read(kNetworkFile),
              "IPADDR=10.0.0.250\nNETMASK=255.255.255.0\nGATEWAY=10.0.2.250\n");
    EXPECT_EQ(valueOf("system.gateway"), std::to_string(0x0A000200 + 250));
}

TEST_F(TwoThreads, SwitchesAndPortsMayBeSetWhileThePollRuns) {
    state->setParamChanged_cb([](const ToskParam& param) {
        EXPECT_FALSE(param.oid().toString().empty() || param.valueToString().empty());
    });
    startPolling();
    for (int round = 0; round < 250; ++round) {
        setFromRequest("system.ambrixEnabled", std::to_string(round % 2));
        setFromRequest("system.activeEthernet", std::to_string(round % 3));
        state->findParam("system.psu1Voltage")
            ->setOid(ToskOID::fromParts(round % 2 == 0 ? "system" : "b.system", "psu1Voltage"));
    }
    stopPolling();
    EXPECT_EQ(valueOf("system.ambrixEnabled"), "1");
}

}  // namespace

}  // namespace systemstate
