// The poll beside the main thread. What these tests guard shows under the thread sanitizer.

#include <atomic>
#include <thread>

#include <gmock/gmock.h>

#include "frame_root.h"
#include "poll_fixture.h"
#include "recording_machine.h"
#include "support/captured_log.h"
#include "systemstate/network_settings.h"
#include "systemstate/param_keys.h"
#include "systemstate/paths.h"
#include "systemstate/system_state.h"
#include "util/json.h"
#include "xadc_dump_samples.h"

namespace systemstate {

namespace {

constexpr int kPolls = 200;

class PollBesideMain : public testing::Test {
  protected:
    PollBesideMain() : machine_(root_.path()), state_(root_.path() + "/state", machine_) {
        root_.write(kNetworkFile, "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
        root_.write(kXadcFile, kDump);
        state_.buildIdentityGroup("");
        state_.buildCatalogue();
        state_.setParamChanged_cb([this](const ToskParam&) { ++announced_; });
    }

    // Polls a moving machine on a thread, and meanwhile does `work` here, again and again.
    template <typename Work>
    void pollBeside(Work work) {
        std::atomic<bool> done = false;
        std::thread poller([&] {
            for (int i = 0; i < kPolls; ++i) {
                const char* active = i % 2 == 0 ? "eth0" : "eth1";
                root_.write(kBondingFile, bondingFile(active, "up", "up"));
                root_.write(kXadcFile, dumpWith(kChannel0At, i % 2 == 0 ? "0000" : "fff0"));
                state_.poll();
            }
            done = true;
        });
        do {
            work();
        } while (!done);
        poller.join();
    }

    CapturedLog log_;
    FrameRoot root_;
    RecordingMachine machine_;
    SystemState state_;
    std::atomic<int> announced_ = 0;
};

TEST_F(PollBesideMain, ReadingEverything) {
    pollBeside([this] { EXPECT_NE(state_.device()->valuesToJSON(), nullptr); });
    EXPECT_GE(announced_, kPolls);
}

TEST_F(PollBesideMain, SettingTheActivePort) {
    pollBeside([this] {
        state_.findParam(kActiveEthernetKey)->setValueFromJSON(util::jsonNumber(1).get());
        state_.findParam(kActiveEthernetKey)->setValueFromJSON(util::jsonNumber(7).get());
    });
    EXPECT_GE(announced_, kPolls);
}

TEST_F(PollBesideMain, EveryAcceptedRequestForAnAddressIsInTheFile) {
    uint32_t address = 0x0A000100;
    pollBeside([&] {
        state_.setFromRequest(*state_.findParam(kIpAddressKey), util::jsonNumber(++address).get());
        EXPECT_THAT(root_.read(kNetworkFile),
                    testing::HasSubstr("IPADDR=" + dottedText(address) + "\n"));
    });
}

}  // namespace

}  // namespace systemstate
