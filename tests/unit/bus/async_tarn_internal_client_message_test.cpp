#include <syslog.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "allocations.h"
#include "bus/messages.h"
#include "bus/netstring.h"
#include "bus/tarn_internal_client.h"
#include "bus_client_fixture.h"
#include "support/captured_log.h"
#include "support/exhausted_memory.h"

using namespace std::chrono_literals;
using lumo::encodeNetString;
using testing::ElementsAre;

namespace {

class BusClientMessage : public BusClientTest {
  protected:
    BusClientMessage() {
        // The first id of a process reads the host id, which it logs.
        TarnInternalClient::forProcess().nextUniqueId();
        log_.take();
        client_->setOnMessage([this](TarnInternalMessage message) {
            received_.push_back(std::string(typeWord(message.type())) + " " + message.objectName() +
                                " " + util::renderJSON(message.data(), false));
        });
    }
    // Answers each master state with this code and notes it.
    void takeMasterStates(std::error_code answer = {}) {
        client_->setOnMasterState([this, answer](bool standby) {
            masterStates_.push_back(standby);
            return answer;
        });
    }

    CapturedLog log_;
    std::vector<std::string> received_;
    std::vector<bool> masterStates_;
};

std::string masterState(const std::string& type, const std::string& value) {
    return "[\"" + type + "\", \"system\", 1, 8, 0]\n" + R"({"id":"m","param":{"kelMasterState":)" +
           value + "}}";
}

std::string answer(const std::string& command, const std::string& status) {
    return std::string("[\"RSP\", \"system\", 8, 1, 0]\n") + R"({"id":"m","requestCommand":")" +
           command + "\"," + status + "}";
}

const std::string kOK = R"("statusCode":200,"statusMsg":"OK")";
const std::string kBadRequest = R"("statusCode":400,"statusMsg":"Bad Request")";

}  // namespace

TEST_F(BusClientMessage, HandsEveryMessageOn) {
    replay({{"[\"NOT\", \"other.system\", 3, 0, 0]\n{\"param\":{\"a\":1}}", {}},
            {"[\"SET\", \"\", 1, 8, 0]\n", {}}});
    EXPECT_THAT(received_, ElementsAre(R"(NOT other.system {"param":{"a":1}})", "SET  null",
                                       R"(GET system {"id":"q","param":)"
                                       R"({"objectName":["moduleReady"]}})"));
}

TEST_F(BusClientMessage, WithoutAReceiverMessagesAreDropped) {
    client_->setOnMessage(nullptr);
    replay({{"[\"NOT\", \"system\", 3, 0, 0]\n{}", {}}});
}

TEST_F(BusClientMessage, SeveralFramesInOneChunkAndOneInMany) {
    ASSERT_TRUE(connectAndLogIn());
    const std::string frame = encodeNetString("[\"NOT\", \"a\", 1, 0, 0]\n{\"b\":1}");
    peer_.last().send(frame + frame);
    ASSERT_TRUE(until([this] { return received_.size() == 2; }));
    for (const char byte : frame) {
        peer_.last().send(std::string(1, byte));
        io_.restart();
        io_.poll();
    }
    ASSERT_TRUE(until([this] { return received_.size() == 3; }));
    EXPECT_THAT(received_, testing::Each(R"(NOT a {"b":1})"));
}

TEST_F(BusClientMessage, LackOfMemoryWhileOneIsParsedLosesNoAnswerToTheNextOfItsChunk) {
    ASSERT_TRUE(connectAndLogIn());
    const std::string frame = encodeNetString(kReadyQuery.request);
    const OneFailedAllocation failure(0);
    peer_.last().send(frame + frame);
    ASSERT_TRUE(until([] { return OneFailedAllocation::happened(); }));
    EXPECT_EQ(hear(3).back(), kReadyQuery.replies[0]);
}

TEST_F(BusClientMessage, PayloadThatDoesNotDecodeIsLoggedAndDropped) {
    replay({{"no header", {}}, {"[\"FOO\", \"system\", 1, 8, 0]\n{}", {}}});
    EXPECT_EQ(received_.size(), 1u) << "the question at the end";
    EXPECT_EQ(peer_.connections(), 1u);
    EXPECT_THAT(
        log_.lines(),
        ElementsAre(CapturedLog::Line{LOG_INFO, "TarnInternalMessage Header not found:no header\n"},
                    CapturedLog::Line{LOG_INFO,
                                      "TarnInternalMessage header decode error:"
                                      "[\"FOO\", \"system\", 1, 8, 0]\n"}));
}

TEST_F(BusClientMessage, PayloadThatThereIsNoMemoryForIsDropped) {
    ASSERT_TRUE(connectAndLogIn());
    {
        const RefusedAllocations refused(100'000);
        peer_.last().send("100000:");
        runFor(io_, 5ms);
    }
    peer_.last().send(std::string(100'000, 'x') + ";");
    peer_.last().sendFrame(kReadyQuery.request);
    EXPECT_EQ(hear(3).at(2), kReadyQuery.replies[0]);
}

TEST_F(BusClientMessage, DataThatIsNoJSONReachesTheReceiver) {
    replay({{"[\"GET\", \"system\", 1, 8, 0]\n{\"param\":", {}},
            {"[\"SET\", \"system\", 1, 8, 0]\n" + std::string(5000, '['), {}}});
    EXPECT_EQ(received_.size(), 3u);
    EXPECT_EQ(received_[0], "GET system null");
}

TEST_F(BusClientMessage, AnswersWhetherTheModuleIsReady) {
    replay({kReadyQuery,
            {"[\"GET\", \"system\", 7, 8, 0]\n"
             R"({"id":"two","param":{"objectName":["ipAddress",1,"moduleReady","moduleReady"]}})",
             {"[\"RSP\", \"system\", 8, 7, 0]\n"
              R"({"id":"two","statusCode":200,"statusMsg":"OK",)"
              R"("param":{"moduleReady":{"name":"Pallwatch","connID":8,"ready":false}}})"}}});
}

TEST_F(BusClientMessage, QueriesThatDoNotNameModuleReadyAreOnlyHandedOn) {
    const std::string header = "[\"GET\", \"system\", 1, 8, 0]\n";
    replay({{header + R"({"id":"a","param":{"objectName":["ipAddress"]}})", {}},
            {header + R"({"id":"b","param":{"objectName":[]}})", {}},
            {header + R"({"id":"c","param":{"objectName":"moduleReady"}})", {}},
            {header + R"({"id":"d","param":{"objectName":{"x":"moduleReady"}}})", {}},
            {header + R"({"id":"e","param":["moduleReady"]})", {}},
            {header + R"({"id":"f","objectName":["moduleReady"]})", {}},
            {header + R"({"id":"g"})", {}}});
    EXPECT_EQ(received_.size(), 8u);
}

TEST_F(BusClientMessage, QuestionsToOtherObjectsAreOnlyHandedOn) {
    takeMasterStates();
    replay({{"[\"GET\", \"system.connection\", 1, 8, 0]\n"
             R"({"id":"a","param":{"objectName":["moduleReady"]}})",
             {}},
            {"[\"SET\", \"System\", 1, 8, 0]\n"
             R"({"id":"b","param":{"kelMasterState":"standby"}})",
             {}}});
    EXPECT_EQ(received_.size(), 3u);
    EXPECT_TRUE(masterStates_.empty());
}

TEST_F(BusClientMessage, StandbyIsToldAndAnswered) {
    takeMasterStates();
    EXPECT_TRUE(client_->standby());
    replay({{masterState("SET", "\"active\""), {answer("SET", kOK)}},
            {masterState("SET", "\"Standby\""), {answer("SET", kOK)}},
            {masterState("SET", "\"\""), {answer("SET", kOK)}}});
    EXPECT_THAT(masterStates_, ElementsAre(false, false, false));
    EXPECT_FALSE(client_->standby());
    peer_.last().sendFrame(masterState("SET", "\"standby\""));
    ASSERT_TRUE(until([this] { return masterStates_.size() == 4; }));
    EXPECT_TRUE(masterStates_.back());
    EXPECT_TRUE(client_->standby());
}

TEST_F(BusClientMessage, RefusedMasterStateIsABadRequest) {
    takeMasterStates(make_error_code(std::errc::operation_not_permitted));
    replay({{masterState("SET", "\"standby\""), {answer("SET", kBadRequest)}}});
    EXPECT_TRUE(client_->standby());
}

TEST_F(BusClientMessage, MasterStateInAResponseIsAnsweredToo) {
    takeMasterStates();
    replay({{masterState("RSP", "\"standby\""), {answer("RSP", kOK)}}});
    EXPECT_THAT(masterStates_, ElementsAre(true));
}

TEST_F(BusClientMessage, MasterStateInOtherMessagesMeansNothing) {
    takeMasterStates();
    replay({{masterState("NOT", "\"standby\""), {}}, {masterState("UPDATE", "\"standby\""), {}}});
    EXPECT_TRUE(masterStates_.empty());
}

TEST_F(BusClientMessage, MasterStateThatIsNoTextMeansNothing) {
    takeMasterStates();
    replay({{masterState("SET", "1"), {}},
            {masterState("SET", "null"), {}},
            {masterState("SET", "[\"standby\"]"), {}},
            {"[\"SET\", \"system\", 1, 8, 0]\n{\"param\":{\"kelmasterstate\":\"standby\"}}", {}},
            {"[\"SET\", \"system\", 1, 8, 0]\n{\"kelMasterState\":\"standby\"}", {}},
            {"[\"SET\", \"system\", 1, 8, 0]\n", {}}});
    EXPECT_TRUE(masterStates_.empty());
    EXPECT_TRUE(client_->standby());
}

TEST_F(BusClientMessage, WithoutACallbackMasterStatesAreKeptAndNotAnswered) {
    replay({{masterState("SET", "\"active\""), {}}});
    EXPECT_FALSE(client_->standby());
}

TEST_F(BusClientMessage, MasterStateMessagesAreLoggedByTheirHeader) {
    replay({{masterState("SET", "\"active\""), {}}, {"[\"RSP\", \"system\", 2, 8, 0]\n{}", {}}});
    EXPECT_THAT(
        log_.lines(),
        ElementsAre(CapturedLog::Line{LOG_DEBUG,
                                      "AsyncTarnInternalClient::handleSystemKelMasterStateRspMsg: "
                                      "[\"SET\", \"system\", 1, 8, 0]\n"},
                    CapturedLog::Line{LOG_DEBUG,
                                      "AsyncTarnInternalClient::handleSystemKelMasterStateRspMsg: "
                                      "[\"RSP\", \"system\", 2, 8, 0]\n"}));
}

TEST_F(BusClientMessage, LongerThanTheBusTakesIsLoggedAndNotSent) {
    ASSERT_TRUE(connectAndLogIn());
    const auto sendText = [this](std::size_t length) {
        client_->send(NOTMessage("system", "x", util::jsonString(std::string(length, 'x'))));
    };
    sendText(20'000'000);
    EXPECT_THAT(log_.lines(),
                ElementsAre(CapturedLog::Line{
                    LOG_ERR, "Message NOT for system is longer than the bus takes, dropped\n"}));
    sendText(10);
    EXPECT_THAT(hear(3).at(2), testing::HasSubstr("xxxxxxxxxx"));
    EXPECT_EQ(heard().size(), 3u);
}

TEST_F(BusClientMessage, ReadinessIsAnnouncedOnce) {
    const std::string ready = R"("param":{"moduleReady":)"
                              R"({"name":"Pallwatch","connID":8,"ready":true}}})";
    ASSERT_TRUE(connectAndLogIn());
    client_->setModuleReady();
    client_->setModuleReady();
    peer_.last().sendFrame(kReadyQuery.request);
    const std::vector<std::string> payloads = hear(4);
    EXPECT_EQ(payloads.at(2), "[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"*\"," + ready);
    EXPECT_EQ(payloads.at(3),
              "[\"RSP\", \"system\", 8, 1, 0]\n"
              R"({"id":"q","statusCode":200,"statusMsg":"OK",)" +
                  ready);
    EXPECT_THAT(log_.lines(), ElementsAre(CapturedLog::Line{LOG_DEBUG,
                                                            "AsyncTarnInternalClient::"
                                                            "setModuleReady"},
                                          CapturedLog::Line{LOG_DEBUG,
                                                            "AsyncTarnInternalClient::"
                                                            "setModuleReady"}));
}

TEST_F(BusClientMessage, ReadinessIsNotAnnouncedAgainAfterAReconnect) {
    ASSERT_TRUE(connectAndLogIn());
    client_->setModuleReady();
    hear(3);
    peer_.last().close();
    ASSERT_TRUE(loggedIn(2));
    peer_.last().sendFrame(kReadyQuery.request);
    EXPECT_THAT(hear(3).at(2), testing::StartsWith("[\"RSP\""));
}

// Nothing is allocated for a frame but its payload, its message and what the receiver does.
TEST_F(BusClientMessage, FrameAllocatesNoMoreThanItsMessage) {
    constexpr std::size_t kFrames = 50;
    const std::string payload = "[\"NOT\", \"other\", 1, 0, 0]\n{\"param\":{\"a\":1}}";
    const std::string frame = encodeNetString(payload);
    std::size_t messages = 0;
    const std::function<void(TarnInternalMessage)> take = [&](const TarnInternalMessage&) {
        ++messages;
    };

    lumo::NetStringStreamParser alone;
    alone.setOnMessage([&](std::unique_ptr<std::vector<char>> bytes) {
        take(TarnInternalMessage(std::move(bytes)));
    });
    alone.feed(frame.data(), frame.size());
    const std::size_t before = allocationCount();
    alone.feed(frame.data(), frame.size());
    const std::size_t each = allocationCount() - before;

    std::size_t atFirst = 0;
    std::size_t atLast = 0;
    messages = 0;
    client_->setOnMessage([&](const TarnInternalMessage&) {
        atLast = allocationCount();
        atFirst = ++messages == 1 ? atLast : atFirst;
    });
    ASSERT_TRUE(connectAndLogIn());
    std::string frames;
    for (std::size_t i = 0; i < kFrames; ++i) {
        frames += frame;
    }
    peer_.last().send(frames);
    ASSERT_TRUE(until([&] { return messages == kFrames; }));
    EXPECT_EQ(atLast - atFirst, (kFrames - 1) * each);
}
