#include "client/device_follower.h"

#include <gtest/gtest.h>

#include "support/captured_log.h"
#include "tools/listening_peer.h"

namespace client {
namespace {

using namespace std::chrono_literals;

// The test is the bus, and says what time it is.
class DeviceFollowerTest : public testing::Test {
  protected:
    DeviceFollowerTest() {
        follower_.setNames({"system.a"});
        follower_.step(now_);
        peer_.accept();
        peer_.read();
    }

    void step(std::chrono::milliseconds later) {
        now_ += later;
        follower_.step(now_);
    }
    void receive(const std::string& payload) {
        peer_.writeFrame(payload);
        const auto received = follower_.receivePayload(Clock::now() + 30s);
        ASSERT_TRUE(received);
        const auto message =
            TarnInternalMessage::tryDecode({received->data(), received->size() - 1});
        ASSERT_TRUE(message);
        follower_.take(*message, device_.handleMessage(*message), now_);
    }
    void answer() {
        const std::string bytes = peer_.read();
        const std::string mark = R"({"id":")";
        const size_t begin = bytes.rfind(mark) + mark.size();
        receive("[\"RSP\", \"system\", 8, 5, 0]\n{\"id\":\"" +
                bytes.substr(begin, bytes.find('"', begin) - begin) + "\"}");
    }

    CapturedLog log_;
    ListeningPeer peer_;
    BusSession session_{peer_.port(), 1000042};
    ParameterCache cache_;
    Device device_{session_, cache_, "system", {2000ms, 60000ms}};
    DeviceFollower follower_{session_, device_, cache_, Subscription::changes, 5s};
    Deadline now_{0ms};
};

TEST_F(DeviceFollowerTest, DoublesItsTimeoutWhileTheDeviceDoesNotAnswer) {
    for (const auto timeout : {2s, 4s, 8s, 16s, 30s, 30s}) {
        EXPECT_EQ(follower_.nextStep(), now_ + timeout);
        step(timeout);
        EXPECT_EQ(follower_.link(), Link::noDevice);
        step(0s);
    }
}

TEST_F(DeviceFollowerTest, ADeviceIsUnresponsiveOnlyOnABusThatSpeaks) {
    step(2s);
    EXPECT_FALSE(follower_.isUnresponsive());
    step(0s);
    receive("[\"NOT\", \"other\", 8, 0, 0]\n{}");
    EXPECT_TRUE(follower_.isUnresponsive());
}

TEST_F(DeviceFollowerTest, AnAnswerEndsWhatWasOverdue) {
    step(2s);
    step(0s);
    answer();
    answer();  // to the question for what the first one did not describe
    EXPECT_EQ(follower_.link(), Link::connected);
    EXPECT_FALSE(follower_.isUnresponsive());
    EXPECT_EQ(follower_.nextStep(), now_ + 5s);
    step(5s);
    EXPECT_EQ(follower_.nextStep(), now_ + 2s) << "the usual timeout again";
}

TEST_F(DeviceFollowerTest, ABusyDeviceIsNotOverdue) {
    follower_.setBusyUntil(now_ + 60s);
    EXPECT_EQ(follower_.nextStep(), now_ + 60s);
    step(59s);
    step(0s);
    receive("[\"NOT\", \"other\", 8, 0, 0]\n{}");
    EXPECT_FALSE(follower_.isUnresponsive());
    step(1s);
    EXPECT_TRUE(follower_.isUnresponsive());
}

}  // namespace
}  // namespace client
