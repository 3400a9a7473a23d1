#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bus/messages.h"
#include "bus/netstring.h"
#include "bus_client_fixture.h"

using namespace std::chrono_literals;
using lumo::encodeNetString;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string notification(const std::string& object) {
    return encodeNetString("[\"NOT\", \"" + object + "\", 1, 0, 0]\n{}");
}

// A receiver that pauses the client at every message whose object is "stop".
class BusClientPause : public BusClientTest {
  protected:
    BusClientPause() {
        client_->setOnMessage([this](const TarnInternalMessage& message) {
            received_.push_back(message.objectName());
            if (message.objectName() == "stop") {
                client_->pause();
            }
        });
    }
    bool receivedLast(const std::string& object) {
        return until([&] { return !received_.empty() && received_.back() == object; });
    }
    // Whatever could still come has come.
    void settle() { runFor(io_, 30ms); }

    std::vector<std::string> received_;
};

}  // namespace

TEST_F(BusClientPause, RestOfTheChunkIsKeptInOrderUntilResumed) {
    ASSERT_TRUE(connectAndLogIn());
    peer_.last().send(notification("stop") + notification("a") + notification("b"));
    ASSERT_TRUE(receivedLast("stop"));
    settle();
    EXPECT_THAT(received_, ElementsAre("stop"));
    client_->resume();
    EXPECT_THAT(received_, ElementsAre("stop", "a", "b"));
}

TEST_F(BusClientPause, NothingMoreIsReadUntilResumed) {
    ASSERT_TRUE(connectAndLogIn());
    peer_.last().send(notification("stop"));
    ASSERT_TRUE(receivedLast("stop"));
    peer_.last().send(notification("later"));
    settle();
    EXPECT_THAT(received_, ElementsAre("stop"));
    client_->resume();
    EXPECT_TRUE(receivedLast("later"));
}

TEST_F(BusClientPause, KeptMessageMayPauseAgain) {
    ASSERT_TRUE(connectAndLogIn());
    const std::string stop = notification("stop");
    peer_.last().send(stop + notification("a") + stop + notification("b"));
    ASSERT_TRUE(receivedLast("stop"));
    client_->resume();
    EXPECT_THAT(received_, ElementsAre("stop", "a", "stop"));
    client_->resume();
    EXPECT_THAT(received_, ElementsAre("stop", "a", "stop", "b"));
}

TEST_F(BusClientPause, ReadUnderWayIsKeptToo) {
    ASSERT_TRUE(connectAndLogIn());
    client_->pause();
    peer_.last().send(notification("a"));
    settle();
    EXPECT_THAT(received_, IsEmpty());
    client_->resume();
    EXPECT_TRUE(receivedLast("a"));
    peer_.last().send(notification("b"));
    EXPECT_TRUE(receivedLast("b"));
}

TEST_F(BusClientPause, ResumeInTheSameChunkChangesNothing) {
    client_->setOnMessage([this](const TarnInternalMessage& message) {
        client_->pause();
        received_.push_back(message.objectName());
        client_->resume();
    });
    ASSERT_TRUE(connectAndLogIn());
    peer_.last().send(notification("a") + notification("b"));
    ASSERT_TRUE(receivedLast("b"));
    peer_.last().send(notification("c"));
    ASSERT_TRUE(receivedLast("c"));
    EXPECT_THAT(received_, ElementsAre("a", "b", "c"));
}

TEST_F(BusClientPause, KeptMessageThatResumesIsDoneBeforeTheNext) {
    std::vector<std::string> diary;
    client_->setOnMessage([&](const TarnInternalMessage& message) {
        diary.push_back(message.objectName());
        if (message.objectName() == "stop") {
            client_->pause();
            return;
        }
        client_->resume();
        diary.push_back("end of " + message.objectName());
    });
    ASSERT_TRUE(connectAndLogIn());
    peer_.last().send(notification("stop") + notification("a") + notification("b"));
    ASSERT_TRUE(until([&] { return !diary.empty(); }));
    client_->resume();
    EXPECT_THAT(diary, ElementsAre("stop", "a", "end of a", "b", "end of b"));
}

TEST_F(BusClientPause, AnswersToKeptMessagesLeaveTogether) {
    client_->setOnMessage([this](const TarnInternalMessage& message) {
        client_->send(RSPMessage(message, 200));
        client_->pause();
    });
    ASSERT_TRUE(connectAndLogIn());
    peer_.last().send(notification("a") + notification("b"));
    ASSERT_EQ(hear(3).size(), 3u);
    client_->resume();
    EXPECT_EQ(hear(4).size(), 4u);
}

TEST_F(BusClientPause, HeartbeatsGoOn) {
    client_->setHeartbeatPeriod(5ms);
    ASSERT_TRUE(connectAndLogIn());
    client_->pause();
    const std::size_t before = peer_.last().payloads().size();
    EXPECT_GE(hear(before + 3).size(), before + 3);
}

TEST_F(BusClientPause, SilenceDoesNotCloseAConnectionPausedDuringARead) {
    client_->transport().setIdlePeriod(150ms);
    ASSERT_TRUE(connectAndLogIn());
    client_->pause();
    runFor(io_, 350ms);
    EXPECT_FALSE(peer_.session(0).ended());
    client_->resume();
    EXPECT_TRUE(until([this] { return peer_.connections() == 2; })) << "the idle time runs anew";
}

TEST_F(BusClientPause, SilenceDoesNotCloseAConnectionThatIsHeldBack) {
    client_->transport().setIdlePeriod(5ms);
    client_->setOnConnectionState(
        [this](lumo::ConnectionState, const std::string&) { client_->pause(); });
    ASSERT_TRUE(connectAndLogIn());
    settle();
    EXPECT_FALSE(peer_.session(0).ended());
    client_->resume();
    EXPECT_TRUE(until([this] { return peer_.connections() == 2; })) << "the idle time runs anew";
}

TEST_F(BusClientPause, KeptMessagesOutliveTheirConnection) {
    ASSERT_TRUE(connectAndLogIn());
    const std::string half = notification("half");
    peer_.last().send(notification("stop") + notification("kept") + half.substr(0, 9));
    ASSERT_TRUE(receivedLast("stop"));
    client_->transport().close("test");
    ASSERT_TRUE(loggedIn(2));
    peer_.last().send(notification("new"));
    settle();
    EXPECT_THAT(received_, ElementsAre("stop"));
    client_->resume();
    EXPECT_THAT(received_, ElementsAre("stop", "kept"));
    EXPECT_TRUE(receivedLast("new"));
}

TEST_F(BusClientPause, DisconnectsWhilePaused) {
    ASSERT_TRUE(connectAndLogIn());
    peer_.last().send(notification("stop"));
    ASSERT_TRUE(receivedLast("stop"));
    client_->disconnect();
    ASSERT_TRUE(until([this] { return peer_.last().ended(); }));
    client_->resume();
    settle();
    EXPECT_EQ(peer_.connections(), 1u);
}
