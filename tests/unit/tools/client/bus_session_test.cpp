#include "client/bus_session.h"

#include <fcntl.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "bus/messages.h"
#include "support/captured_log.h"
#include "tools/listening_peer.h"

namespace client {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::StartsWith;

Deadline soon() {
    return Clock::now() + 5s;
}

class BusSessionTest : public testing::Test {
  protected:
    void open(BusSession& session) {
        ASSERT_TRUE(session.open(soon())) << session.errorText();
        peer_.accept();
    }

    CapturedLog log_;
    ListeningPeer peer_;
    BusSession session_{peer_.port(), 1000042};
};

TEST_F(BusSessionTest, LogsInBeforeAnythingElse) {
    open(session_);
    GETMessage request("system", {"ipAddress"}, nullptr, 0);
    session_.queue(request);
    EXPECT_TRUE(session_.flush());
    const std::string bytes = peer_.read();
    EXPECT_THAT(bytes, HasSubstr(":[\"SET\", \"system.connection\", 1000042, 0, 0]\n{\"id\":\""));
    EXPECT_THAT(bytes, HasSubstr(R"("login":{"name":"pallctl","connID":1000042,"version":1}}};)"));
    EXPECT_LT(bytes.find("login"), bytes.find("[\"GET\", \"system\", 1000042, 0, 0]"));
}

TEST_F(BusSessionTest, SubscribesPathsOneByOne) {
    open(session_);
    session_.subscribe("system");
    session_.flush();
    EXPECT_THAT(peer_.read(), HasSubstr(R"("param":{"subscribeList":[{"path":"system"}]}};)"));
}

TEST_F(BusSessionTest, SaysWhyThereIsNoBus) {
    peer_.stopListening();
    EXPECT_FALSE(session_.open(soon()));
    EXPECT_FALSE(session_.isOpen());
    EXPECT_EQ(session_.errorText(), "connect: Connection refused");
}

TEST_F(BusSessionTest, HandsOutMessagesInOrderHoweverTheyArrive) {
    open(session_);
    const std::string first = "34:[\"NOT\", \"system\", 8, 0, 0]\n{\"a\":1};";
    peer_.write(first.substr(0, 9));
    EXPECT_FALSE(session_.receive(Clock::now()));
    peer_.write(first.substr(9) + "34:[\"NOT\", \"second\", 8, 0, 0]\n{\"a\":2};");
    const auto one = session_.receive(soon());
    const auto two = session_.receive(soon());
    ASSERT_TRUE(one && two);
    EXPECT_EQ(one->objectName(), "system");
    EXPECT_EQ(two->objectName(), "second");
    EXPECT_FALSE(session_.receive(Clock::now()));
    EXPECT_TRUE(session_.isOpen());
}

TEST_F(BusSessionTest, PassesOverWhatIsNoMessage) {
    open(session_);
    peer_.writeFrame("no header");
    peer_.writeFrame("[\"RSP\", \"system\", 8, 1000042, 0]\n{}");
    const auto message = session_.receive(soon());
    ASSERT_TRUE(message);
    EXPECT_EQ(message->type(), MessageType::RSP);
}

TEST_F(BusSessionTest, HandsOutWhatCameBeforeTheConnectionWasLost) {
    open(session_);
    peer_.writeFrame("[\"NOT\", \"system\", 8, 0, 0]\n{}");
    peer_.hangUp();
    EXPECT_TRUE(session_.receive(soon()));
    EXPECT_FALSE(session_.receive(soon()));
    EXPECT_FALSE(session_.isOpen());
    EXPECT_THAT(session_.errorText(), StartsWith("receive: "));
}

TEST_F(BusSessionTest, BeginsAnewWithEveryOpen) {
    open(session_);
    peer_.write("99:half a frame");
    EXPECT_FALSE(session_.receive(Clock::now() + 1ms));
    session_.subscribe("never.sent");
    open(session_);
    session_.flush();
    EXPECT_THAT(peer_.read(), testing::Not(HasSubstr("never.sent")));
    peer_.writeFrame("[\"NOT\", \"system\", 8, 0, 0]\n{}");
    EXPECT_TRUE(session_.receive(soon()));
}

TEST_F(BusSessionTest, WithoutConnectionSendsAndReceivesNothing) {
    GETMessage request("system", nullptr);
    session_.queue(request);
    EXPECT_FALSE(session_.flush());
    EXPECT_FALSE(session_.receive(soon()));
}

TEST_F(BusSessionTest, WaitsForNothingWhenTheReaderOfItsOutputHasGone) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    const util::UniqueDescriptor output(pipe[1]);
    BusSession session(peer_.port(), 1, output.get());
    open(session);
    EXPECT_FALSE(session.receive(Clock::now()));
    EXPECT_FALSE(session.outputGone());

    ::close(pipe[0]);
    EXPECT_FALSE(session.receive(Clock::now() + 1h));
    EXPECT_TRUE(session.outputGone());
    session.pause(Clock::now() + 1h);
    EXPECT_TRUE(session.isOpen());
}

TEST_F(BusSessionTest, DoesNotTakeAnOutputWithoutReaderForABusThatTakesTooLong) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    const util::UniqueDescriptor output(pipe[1]);
    ::close(pipe[0]);
    BusSession session(peer_.port(), 1, output.get());
    EXPECT_FALSE(session.open(soon()));
    EXPECT_TRUE(session.outputGone());
    EXPECT_FALSE(session.isOpen());
    EXPECT_EQ(session.errorText(), "connect: Broken pipe");
}

TEST_F(BusSessionTest, PausesNoLongerThanItsOutputHasAReader) {
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe2(pipe.data(), O_CLOEXEC), 0);
    const util::UniqueDescriptor output(pipe[1]);
    BusSession session(peer_.port(), 1, output.get());
    session.pause(Clock::now() + 1ms);
    EXPECT_FALSE(session.outputGone());
    ::close(pipe[0]);
    session.pause(Clock::now() + 1h);
    EXPECT_TRUE(session.outputGone());
}

TEST_F(BusSessionTest, SubscribesAllThatPassesWhenAskedTo) {
    open(session_);
    session_.subscribe("", true);
    session_.flush();
    EXPECT_THAT(peer_.read(),
                HasSubstr(R"("param":{"subscribeList":[{"path":"","receiveAll":true}]}};)"));
}

TEST_F(BusSessionTest, HandsOutPayloadsAsTheyCameAlsoWhatIsNoMessage) {
    open(session_);
    peer_.write(std::string("9:no\0header;", 12));
    const BusSession::Payload payload = session_.receivePayload(soon());
    ASSERT_NE(payload, nullptr);
    EXPECT_EQ(std::string(payload->data(), payload->size()), std::string("no\0header\0", 10));
    EXPECT_EQ(session_.receivePayload(Clock::now()), nullptr);
}

TEST_F(BusSessionTest, ReportsAFramingErrorAndGoesOn) {
    int errors = 0;
    session_.setOnFramingError([&errors] { ++errors; });
    open(session_);
    peer_.write("2:ab,3:xyz;");
    const BusSession::Payload payload = session_.receivePayload(soon());
    ASSERT_NE(payload, nullptr);
    EXPECT_EQ(std::string(payload->data(), payload->size()), std::string("xyz\0", 4));
    EXPECT_EQ(errors, 1);
}

TEST_F(BusSessionTest, SendsHeartbeatsWhileItWaits) {
    BusSession session(peer_.port(), 1000042, -1, {1ms, 1h});
    open(session);
    session.flush();
    peer_.read();
    EXPECT_FALSE(session.receive(Clock::now() + 5ms));
    EXPECT_THAT(peer_.read(), HasSubstr("[\"SET\", \"\", 1000042, 0, 0]\n{\"id\":"));
    EXPECT_TRUE(session.isOpen());
}

TEST_F(BusSessionTest, SendsHeartbeatsWhileMessagesCome) {
    BusSession session(peer_.port(), 1000042, -1, {1ms, 1h});
    open(session);
    session.flush();
    peer_.read();
    session.pause(Clock::now() + 2ms);
    peer_.writeFrame("[\"NOT\", \"system\", 8, 0, 0]\n{}");
    EXPECT_TRUE(session.receive(soon()));
    EXPECT_THAT(peer_.read(), HasSubstr("[\"SET\", \"\", 1000042, 0, 0]\n{\"id\":"));
}

TEST_F(BusSessionTest, LeavesABusThatAnswersNoHeartbeat) {
    BusSession session(peer_.port(), 1, -1, {1ms, 2ms});
    open(session);
    EXPECT_FALSE(session.receive(soon()));
    EXPECT_FALSE(session.isOpen());
    EXPECT_EQ(session.errorText(), "receive: Connection timed out");
}

// A process that was stopped for a while comes back to answers that wait for it.
TEST_F(BusSessionTest, ReadsWhatWaitsBeforeItCallsTheBusSilent) {
    BusSession session(peer_.port(), 1, -1, {1ms, 0ms});
    open(session);
    session.pause(Clock::now() + 2ms);
    peer_.writeFrame("[\"RSP\", \"\", 0, 1, 0]\n{}");
    EXPECT_TRUE(session.receive(soon()));
    EXPECT_TRUE(session.isOpen());
}

}  // namespace
}  // namespace client
