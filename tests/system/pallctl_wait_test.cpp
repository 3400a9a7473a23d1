// pallctl wait, with the real daemon.

#include "on_pallbus.h"
#include "pallframe/simulation/frame_paths.h"

using harness::Process;
using harness::Result;

namespace {

class PallctlWait : public OnPallbus {
  protected:
    PallctlWait() { start(); }
};

TEST_F(PallctlWait, EndsAtOnceWhenItIsSo) {
    for (const char* so : {"sshEnabled=enabled", "sshEnabled=1", "sshEnabled=on", "system.active=1",
                           "active=1.0", "psu1Voltage=0", "psu1Voltage=0.001", "ipAddress=10.0.0.5",
                           "ipAddress=167772165", "serial0=name=COM1"}) {
        const Result result = pallctl({"wait", so, "--timeout=20"});
        EXPECT_EQ(result.status, 0) << so << ": " << result.error;
        EXPECT_EQ(result.output, "") << so;
    }
    EXPECT_EQ(pallctl({"wait", "--raw", "systemName=\"System\"", "--timeout=20"}).status, 0);
}

TEST_F(PallctlWait, EndsWith9WhenTheTimeIsOver) {
    const Result result = pallctl({"wait", "sshEnabled=disabled", "--timeout=0.1"});
    EXPECT_EQ(result.status, 9);
    EXPECT_EQ(result.error, "pallctl: system.sshEnabled: timed out; the value is Enabled\n");
    EXPECT_EQ(result.output, "");
}

TEST_F(PallctlWait, RefusesWhatItCouldNeverSee) {
    EXPECT_EQ(pallctl({"wait", "nosuch=1"}).status, 4);
    for (const char* never :
         {"sshEnabled=maybe", "ipAddress=here", "frameName", "=1", "systemName<x"}) {
        const Result result = pallctl({"wait", never});
        EXPECT_EQ(result.status, 2) << never;
        EXPECT_THAT(result.error, isOneComplaint("pallctl")) << never;
    }
}

TEST_F(PallctlWait, EndsWhenSomebodySetsIt) {
    Process waiting(program("pallctl", {"wait", "systemName=B"}));
    ASSERT_EQ(pallctl({"set", "systemName=B"}).status, 0);
    EXPECT_EQ(waiting.waitForEnd(), 0);
}

TEST_F(PallctlWait, EndsWhenAllConditionsAreMetAtTheSameTime) {
    Process waiting(program("pallctl", {"wait", "systemName!=System", "sshEnabled=off",
                                        "psu1Voltage<0.5", "battVoltage>=-1", "-k"}));
    ASSERT_EQ(pallctl({"set", "systemName=B"}).status, 0);
    ASSERT_EQ(pallctl({"set", "systemName=System"}).status, 0);
    ASSERT_EQ(pallctl({"set", "sshEnabled=off"}).status, 0);
    ASSERT_EQ(pallctl({"set", "systemName=C"}).status, 0);
    EXPECT_EQ(waiting.waitForEnd(), 0) << waiting.error().text();
    EXPECT_THAT(waiting.output().waitForEnd(),
                testing::StartsWith("system_systemName='C'\nsystem_sshEnabled='Disabled'\n"));
}

TEST_F(PallctlWait, SeesWhatChangedWhileTheDaemonWasAway) {
    Process waiting(program("pallctl", {"--wait=20", "wait", "gateway=10.0.0.7"}));
    stopDaemon();
    frame.write(pallframe::simulation::paths::kNetwork,
                "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.7\n");
    startDaemon();
    EXPECT_EQ(waiting.waitForEnd(), 0) << waiting.error().text();
}

TEST_F(PallctlWait, SeesWhatChangedWhileTheBusWasAway) {
    Process waiting(program("pallctl", {"--wait=20", "wait", "systemName=B"}));
    stopBus();
    startBus();
    ASSERT_EQ(pallctl({"--wait=20", "set", "systemName=B"}).status, 0);
    EXPECT_EQ(waiting.waitForEnd(), 0) << waiting.error().text();
}

TEST_F(OnPallbus, WaitNeedsABusToBeginWith) {
    EXPECT_EQ(pallctl({"wait", "active=1"}).status, 6);
}

}  // namespace
