#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bus/messages.h"
#include "bus_client_fixture.h"

using lumo::AsyncTarnInternalClient;
using lumo::ConnectionState;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Pair;

namespace {

class BusClientConnect : public BusClientTest {
  protected:
    BusClientConnect() {
        client_->setOnConnectionState([this](ConnectionState state, const std::string& reason) {
            states_.emplace_back(state, reason);
        });
    }

    std::vector<std::pair<ConnectionState, std::string>> states_;
};

const std::string kAnnouncement =
    "[\"NOT\", \"system\", 8, 0, 0]\n"
    R"({"id":"*","param":{"frameName":"A"}})";

NOTMessage announcement() {
    return {"system", "frameName", util::jsonString("A")};
}

}  // namespace

TEST_F(BusClientConnect, LogsInAndSubscribes) {
    client_->subscribe("system");
    client_->subscribe("frameB.system");
    ASSERT_TRUE(connectAndLogIn());
    EXPECT_THAT(heard(), ElementsAre(kLogin, subscribeList(R"({"path":"system"},)"
                                                           R"({"path":"frameB.system"})")));
}

TEST_F(BusClientConnect, SubscribesToNothingWithAnEmptyList) {
    ASSERT_TRUE(connectAndLogIn());
    EXPECT_THAT(heard(), ElementsAre(kLogin, subscribeList("")));
}

TEST_F(BusClientConnect, AsksForEverythingBelowThePathsWhenToldTo) {
    client_->setReceiveAll(true);
    client_->subscribe("system");
    ASSERT_TRUE(connectAndLogIn());
    EXPECT_EQ(heard()[1], subscribeList(R"({"path":"system","receiveAll":true})"));
}

TEST_F(BusClientConnect, ReportsTheConnectionAfterTheSubscriptions) {
    ASSERT_TRUE(connectAndLogIn());
    EXPECT_THAT(states_, ElementsAre(Pair(ConnectionState::connected, "connect OK")));
    EXPECT_EQ(client_->connectionState(), ConnectionState::connected);
}

TEST_F(BusClientConnect, EveryConnectionBeginsWithLoginListAndWhatTheOwnerSends) {
    client_->subscribe("system");
    client_->setOnConnectionState(
        [this](ConnectionState, const std::string&) { client_->send(announcement()); });
    client_->connectToTarnInternal();
    ASSERT_TRUE(loggedIn());
    const std::string list = subscribeList(R"({"path":"system"})");
    EXPECT_THAT(hear(3), ElementsAre(kLogin, list, kAnnouncement));
    peer_.last().close();
    ASSERT_TRUE(loggedIn(2));
    EXPECT_THAT(hear(3), ElementsAre(kLogin, list, kAnnouncement));
}

TEST_F(BusClientConnect, QueuedTrafficFollowsTheSubscriptions) {
    client_->connectToTarnInternal();
    client_->send(announcement());
    ASSERT_TRUE(loggedIn());
    EXPECT_THAT(hear(3), ElementsAre(kLogin, subscribeList(""), kAnnouncement));
}

TEST_F(BusClientConnect, LostConnectionIsNotReported) {
    ASSERT_TRUE(connectAndLogIn());
    peer_.last().close();
    ASSERT_TRUE(loggedIn(2));
    EXPECT_THAT(states_, ElementsAre(Pair(ConnectionState::connected, "connect OK"),
                                     Pair(ConnectionState::connected, "connect OK")));
}

TEST_F(BusClientConnect, DisconnectIsReportedAndFinal) {
    ASSERT_TRUE(connectAndLogIn());
    states_.clear();
    client_->disconnect();
    EXPECT_THAT(states_, ElementsAre(Pair(ConnectionState::disconnected, "disconnect")));
    EXPECT_EQ(client_->connectionState(), ConnectionState::disconnected);
    ASSERT_TRUE(until([this] { return peer_.last().ended(); }));
    runFor(io_, 60ms);
    EXPECT_EQ(peer_.connections(), 1u);
}

TEST_F(BusClientConnect, SaysOnStandardErrorThatTheBusIsAbsent) {
    peer_.stopListening();
    int attempts = 0;
    client_->transport().setOnConnecting([&](const auto&) { ++attempts; });
    testing::internal::CaptureStderr();
    client_->connectToTarnInternal();
    const bool tried = until([&] { return attempts == 3; });
    const std::string line = "Pallwatch - connectHandler Error: Connection refused to 127.0.0.1:" +
                             std::to_string(peer_.port()) + "\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), line + line);
    ASSERT_TRUE(tried);
    EXPECT_TRUE(states_.empty());
}

TEST_F(BusClientConnect, FrameCutByADisconnectionIsNotCompletedByTheNextConnection) {
    std::vector<std::string> objects;
    client_->setOnMessage(
        [&](const TarnInternalMessage& message) { objects.push_back(message.objectName()); });
    ASSERT_TRUE(connectAndLogIn());
    peer_.last().send("500:[\"NOT\", \"cut\", 1, 0, 0]\n{");
    peer_.last().close();
    ASSERT_TRUE(loggedIn(2));
    peer_.last().sendFrame("[\"NOT\", \"whole\", 1, 0, 0]\n{}");
    ASSERT_TRUE(until([&] { return !objects.empty(); }));
    EXPECT_THAT(objects, ElementsAre("whole"));
}

TEST_F(BusClientConnect, SubscribeSendsTheNewPathAlone) {
    client_->subscribe("system");
    ASSERT_TRUE(connectAndLogIn());
    client_->subscribe("other");
    EXPECT_EQ(hear(3).at(2), subscribeList(R"({"path":"other"})"));
}

TEST_F(BusClientConnect, SubscribeOfAKnownPathSendsNothing) {
    client_->subscribe("system");
    ASSERT_TRUE(connectAndLogIn());
    client_->subscribe("system");
    client_->send(announcement());
    EXPECT_EQ(hear(3).at(2), kAnnouncement);
}

TEST_F(BusClientConnect, UnsubscribeSendsNothingAndLeavesThePathOutOfLaterLists) {
    client_->subscribe("system");
    client_->subscribe("other");
    ASSERT_TRUE(connectAndLogIn());
    client_->unsubscribe("system");
    client_->unsubscribe("never heard of");
    client_->send(announcement());
    EXPECT_EQ(hear(3).at(2), kAnnouncement);
    peer_.last().close();
    ASSERT_TRUE(loggedIn(2));
    EXPECT_EQ(heard().at(1), subscribeList(R"({"path":"other"})"));
}

TEST_F(BusClientConnect, HeartbeatIsASetMessageAboutNothing) {
    EXPECT_EQ(client_->heartbeatPeriod(), 5000ms);
    client_->setHeartbeatPeriod(5ms);
    ASSERT_TRUE(connectAndLogIn());
    const std::string beat = "[\"SET\", \"\", 8, 0, 0]\n{\"id\":\"*\"}";
    const std::vector<std::string> payloads = hear(4);
    EXPECT_EQ(payloads.at(2), beat);
    EXPECT_EQ(payloads.at(3), beat);
}

TEST_F(BusClientConnect, HeartbeatResumesOnePeriodAfterAReconnect) {
    std::chrono::steady_clock::time_point connected;
    client_->setOnConnectionState(
        [&](ConnectionState, const std::string&) { connected = std::chrono::steady_clock::now(); });
    client_->setHeartbeatPeriod(60ms);
    ASSERT_TRUE(connectAndLogIn());
    hear(3);
    peer_.last().close();
    ASSERT_TRUE(loggedIn(2));
    EXPECT_EQ(hear(3).size(), 3u);
    EXPECT_GE(std::chrono::steady_clock::now() - connected, 60ms);
}

TEST_F(BusClientConnect, SendStampsTheSourceAndSendUnstampedDoesNot) {
    ASSERT_TRUE(connectAndLogIn());
    client_->send(announcement());
    client_->sendUnstamped(announcement());
    const std::vector<std::string> payloads = hear(4);
    EXPECT_EQ(payloads.at(2), kAnnouncement);
    EXPECT_EQ(payloads.at(3),
              "[\"NOT\", \"system\", 0, 0, 0]\n"
              R"({"id":"*","param":{"frameName":"A"}})");
}

TEST_F(BusClientConnect, SendWithoutAConnectionIsForgotten) {
    client_->send(announcement());
    ASSERT_TRUE(connectAndLogIn());
    EXPECT_THAT(heard(), ElementsAre(kLogin, subscribeList("")));
}

TEST_F(BusClientConnect, BatchIsWrittenAtItsEndOrByAFlush) {
    ASSERT_TRUE(connectAndLogIn());
    {
        const AsyncTarnInternalClient::Batch batch = client_->gather();
        client_->send(announcement());
        client_->flush();
        EXPECT_NE(peer_.last().takeNow(), "");
        client_->send(announcement());
        runFor(io_, 5ms);
        EXPECT_EQ(heard().size(), 3u);
    }
    EXPECT_EQ(hear(4).size(), 4u);
}
