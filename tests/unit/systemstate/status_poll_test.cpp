// The poll as a whole: its order, what the cards leave out, Ambrix and the frame type.

#include "systemstate/status_poll.h"

#include <gmock/gmock.h>

#include "poll_fixture.h"
#include "systemstate/param_keys.h"
#include "systemstate/paths.h"
#include "xadc_dump_samples.h"

namespace systemstate {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kSettings = "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n";

class StatusPollTest : public PollFixture {};

TEST_F(StatusPollTest, TakesItsStepsInOrder) {
    start("Tessara");
    poll();
    takeDiary();
    root_.write(kAmbrixDisabledMarker, "");
    root_.write(kTessaraBondingFile, tessaraBondingFile("eth0", "up", "up"));
    root_.write(kNetworkFile, kSettings);
    root_.write(kFrameDetectionFile, "Frame Type: 2\n");
    root_.write(kXadcFile, dumpWith(kChannel0At, "8000"));
    poll();
    EXPECT_THAT(
        takeDiary(),
        ElementsAre(
            "/etc/init.d/S81ambrix stop", "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'",
            "NOT system.ambrixEnabled=0", "/etc/init.d/S81ambrix stop",
            "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'",
            "6 ETHERNET STATUS CHANGED : eth0, was:0, now:1\n", "NOT system.ethPort1Status=1",
            "6 ETHERNET STATUS CHANGED : eth1, was:0, now:2\n", "NOT system.ethPort2Status=2",
            "NOT system.ipAddress=167772165", "NOT system.netmask=4294967040",
            "NOT system.gateway=167772161",
            "6 SystemState:config_ip: checking ifconfig ip=10.0.0.5 sub=255.255.255.0 "
            "gw=10.0.0.1...\n",
            "6 ip address 10.0.0.5\n", "6 gateway_ip_address 10.0.0.1\n",
            "6 subnet_mask 255.255.255.0\n", "6 no changes\n", "NOT system.frameType=2",
            "6 Battery Sample = ON\n", "/sbin/devmem 0x8aa00014 32 0x01", "pause of 25 ms",
            "/sbin/devmem 0x8aa00014 32 0x00", "6 Battery Sample = OFF\n",
            "6 sec[0]  ADC CHAN 13=291\n", "NOT system.battVoltage=0.000000",
            "NOT system.psu1Voltage=14.550000", "NOT system.psu2Voltage=15.459375"));
}

TEST_F(StatusPollTest, ReadsNoVoltagesOnTheFirstPoll) {
    start("Quorane");
    root_.write(kXadcFile, kDump);
    EXPECT_THAT(pollDiary(), Not(Contains(StartsWith("6 Battery"))));
    EXPECT_EQ(value(kPsu1VoltageKey), "0.000000");
    EXPECT_THAT(pollDiary(), Contains("6 Battery Sample = ON\n"));
    EXPECT_NE(value(kPsu1VoltageKey), "0.000000");
}

TEST_F(StatusPollTest, BrioLooksAtAmbrixOnly) {
    start("QuoraneBrio");
    root_.write(kBondingFile, bondingFile("eth0", "up", "up"));
    root_.write(kTessaraBondingFile, tessaraBondingFile("eth0", "up", "up"));
    root_.write(kNetworkFile, kSettings);
    root_.write(kFrameDetectionFile, "Frame Type: 2\n");
    root_.write(kXadcFile, kDump);
    poll(3);
    EXPECT_THAT(takeDiary(), IsEmpty());
    root_.write(kAmbrixDisabledMarker, "");
    EXPECT_THAT(pollDiary(), ElementsAre("pkill ambrixsrvtst", "pkill brio-ambrix-shu",
                                         "NOT system.ambrixEnabled=0", "pkill ambrixsrvtst",
                                         "pkill brio-ambrix-shu"));
}

TEST_F(StatusPollTest, SurvivesADeviceWithoutCatalogue) {
    startWithoutCatalogue("Tessara");
    root_.write(kTessaraBondingFile, tessaraBondingFile("eth0", "up", "down"));
    root_.write(kNetworkFile, kSettings);
    root_.write(kFrameDetectionFile, "Frame Type: 2\n");
    root_.write(kXadcFile, kDump);
    poll(2);
    EXPECT_THAT(takeDiary(), Not(Contains(StartsWith("NOT"))));
}

TEST_F(StatusPollTest, AmbrixIsLeftAloneWithoutItsMarker) {
    start("Quorane");
    EXPECT_TRUE(state_->services().ambrixStarted());
    EXPECT_THAT(pollDiary(), Not(Contains(StartsWith("/etc/init.d/S81ambrix"))));
    EXPECT_TRUE(state_->services().ambrixStarted());
    EXPECT_EQ(value(kAmbrixEnabledKey), "1");
}

TEST_F(StatusPollTest, AmbrixShutOffIsFollowedOnce) {
    start("Quorane");
    root_.write(kAmbrixDisabledMarker, "");
    EXPECT_THAT(pollDiary(), Contains("NOT system.ambrixEnabled=0"));
    EXPECT_FALSE(state_->services().ambrixStarted());
    EXPECT_THAT(pollDiary(), Not(Contains(StartsWith("/etc/init.d/S81ambrix"))));
}

TEST_F(StatusPollTest, AmbrixMarkerMeansNothingWhenTheDaemonDidNotStartIt) {
    root_.write(kAmbrixDisabledMarker, "");
    start("Quorane");
    EXPECT_FALSE(state_->services().ambrixStarted());
    EXPECT_THAT(pollDiary(), Not(Contains(StartsWith("/etc/init.d/S81ambrix"))));
}

class FrameType : public PollFixture {};

TEST_F(FrameType, IsReadOnBothTessaraFrames) {
    for (const char* product : {"Tessara", "Tessara-5ru", "TESSARA"}) {
        start(product);
        root_.write(kFrameDetectionFile,
                    "Frame Type: 3\nFrame Size: 5\nSlot Count: 16\nPL Rev: 1\n");
        EXPECT_THAT(pollDiary(), Contains("NOT system.frameType=3")) << product;
    }
}

TEST_F(FrameType, IsReadOnNoOtherCard) {
    root_.write(kFrameDetectionFile, "Frame Type: 3\n");
    for (const char* product : {"Quorane", "KELI", "Tessara-9"}) {
        start(product);
        poll();
        EXPECT_EQ(value(kFrameTypeKey), "0") << product;
    }
}

TEST_F(FrameType, IsTriedAgainUntilKnown) {
    start("Tessara");
    poll();
    root_.write(kFrameDetectionFile, "\n\n");
    poll();
    root_.write(kFrameDetectionFile, "Frame Size: 5\n");
    poll();
    root_.write(kFrameDetectionFile, "Frame Type: -1\n");
    poll();
    EXPECT_THAT(takeDiary(), Not(Contains(StartsWith("NOT system.frameType"))));
    root_.write(kFrameDetectionFile, "Frame Type: 1\n");
    EXPECT_THAT(pollDiary(), Contains("NOT system.frameType=1"));
}

TEST_F(FrameType, IsNotReadAgainOnceKnown) {
    start("Tessara");
    root_.write(kFrameDetectionFile, "Frame Type: 1\n");
    poll();
    root_.write(kFrameDetectionFile, "Frame Type: 2\n");
    poll();
    EXPECT_EQ(value(kFrameTypeKey), "1");
}

TEST_F(FrameType, ZeroIsKnown) {
    start("Tessara");
    root_.write(kFrameDetectionFile, "Frame Type: 0\n");
    poll();
    root_.write(kFrameDetectionFile, "Frame Type: 2\n");
    poll();
    EXPECT_EQ(value(kFrameTypeKey), "0");
}

TEST_F(FrameType, ThatIsNoIntegerIsLoggedOnceAndTriedAgain) {
    constexpr const char* kLine = "3 /tmp/tessaradetect.txt: Frame Type is no integer: \"big\"\n";
    start("Tessara");
    root_.write(kFrameDetectionFile, "Frame Type: big\n");
    EXPECT_THAT(pollDiary(), Contains(kLine));
    EXPECT_THAT(pollDiary(), Not(Contains(kLine)));
    EXPECT_EQ(value(kFrameTypeKey), "0");
    root_.write(kFrameDetectionFile, "Frame Type: 4\n");
    EXPECT_THAT(pollDiary(), Contains("NOT system.frameType=4"));
}

}  // namespace

}  // namespace systemstate
