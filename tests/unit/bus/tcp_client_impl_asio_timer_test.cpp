#include <chrono>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tcp_client_fixture.h"

using lumo::TCPClientImplAsio;
using namespace std::chrono_literals;
using std::chrono::steady_clock;
using testing::ElementsAre;

namespace {

using IpDetails = TCPClientImplAsio::IpDetails;

constexpr auto kPeriod = 40ms;

class TCPClientTimers : public TCPClientTest {
  protected:
    TCPClientTimers() {
        client_->setIdlePeriod(kPeriod);
        client_->setOnClose([this](const std::string& reason) {
            reasons_.push_back(reason);
            closed_ = steady_clock::now();
        });
        client_->setOnIdle([this] { idles_.push_back(steady_clock::now()); });
        client_->setOnConnect([this](std::error_code error) {
            connectTime_ = steady_clock::now();
            return std::error_code(error);
        });
    }
    bool closed() {
        return until([this] { return !reasons_.empty(); });
    }

    std::vector<std::string> reasons_;
    std::vector<steady_clock::time_point> idles_;
    steady_clock::time_point connectTime_;
    steady_clock::time_point closed_;
};

}  // namespace

TEST_F(TCPClientTimers, IdlePeriodIsFiveSecondsUnlessToldOtherwise) {
    const TCPClientImplAsio client(io_, "127.0.0.1", peer_.port());
    EXPECT_EQ(client.idlePeriod(), 5000ms);
}

TEST_F(TCPClientTimers, SilentBusIsDroppedAfterTwoPeriods) {
    testing::internal::CaptureStderr();
    ASSERT_TRUE(startAndConnect());
    const bool dropped = closed();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Pallwatch - TCP Client: socket no response. Closing.\n");
    ASSERT_TRUE(dropped);
    EXPECT_THAT(reasons_, ElementsAre("no resp timeout"));
    EXPECT_GE(closed_ - connectTime_, 2 * kPeriod);
    EXPECT_TRUE(connected(2));
}

TEST_F(TCPClientTimers, IdleTimeCountsFromTheLastReceivedData) {
    steady_clock::time_point received;
    client_->setOnData(
        [&](const char*, std::size_t, const IpDetails&) { received = steady_clock::now(); });
    testing::internal::CaptureStderr();
    ASSERT_TRUE(startAndConnect());
    runFor(io_, 15ms);
    peer_.last().send("x");
    const bool dropped = closed();
    testing::internal::GetCapturedStderr();
    ASSERT_TRUE(dropped);
    EXPECT_GE(closed_ - received, 2 * kPeriod);
}

TEST_F(TCPClientTimers, DataOncePerPeriodKeepsTheConnection) {
    int chunks = 0;
    client_->setOnData([&](const char*, std::size_t, const IpDetails&) { ++chunks; });
    client_->setIdlePeriod(500ms);
    ASSERT_TRUE(startAndConnect());
    for (int reply = 1; reply <= 7; ++reply) {
        runFor(io_, 200ms);
        peer_.last().send("x");
        ASSERT_TRUE(until([&] { return chunks == reply; }));
    }
    EXPECT_TRUE(client_->connected());
    EXPECT_TRUE(reasons_.empty());
}

TEST_F(TCPClientTimers, OnIdleIsCalledAfterOnePeriod) {
    constexpr auto kLongPeriod = 250ms;
    client_->setIdlePeriod(kLongPeriod);
    testing::internal::CaptureStderr();
    ASSERT_TRUE(startAndConnect());
    const bool dropped = closed();
    testing::internal::GetCapturedStderr();
    ASSERT_TRUE(dropped);
    ASSERT_EQ(idles_.size(), 1u);
    EXPECT_GE(idles_[0] - connectTime_, kLongPeriod);
    EXPECT_LT(idles_[0], closed_);
}

TEST_F(TCPClientTimers, ConnectionClosedByOnIdleIsNotCheckedAgain) {
    constexpr auto kLongPeriod = 250ms;
    client_->setIdlePeriod(kLongPeriod);
    client_->setReconnectDelay(1h);
    client_->setOnIdle([this] { client_->close("idle"); });
    testing::internal::CaptureStderr();
    ASSERT_TRUE(startAndConnect());
    const bool dropped = closed();
    runFor(io_, 4 * kLongPeriod);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ASSERT_TRUE(dropped);
    EXPECT_THAT(reasons_, ElementsAre("idle"));
}

TEST_F(TCPClientTimers, ConnectionClosedByItsOwnerIsNotCheckedAgain) {
    client_->setReconnectDelay(1h);
    testing::internal::CaptureStderr();
    ASSERT_TRUE(startAndConnect());
    client_->close("enough");
    runFor(io_, 4 * kPeriod);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(reasons_, ElementsAre("enough"));
    EXPECT_TRUE(idles_.empty());
}

TEST_F(TCPClientTimers, ConnectionClosedByTheReceiverIsNotCheckedAgain) {
    client_->setReconnectDelay(1h);
    client_->setOnData(
        [this](const char*, std::size_t, const IpDetails&) { client_->close("heard enough"); });
    testing::internal::CaptureStderr();
    ASSERT_TRUE(startAndConnect());
    peer_.last().send("x");
    const bool dropped = closed();
    runFor(io_, 4 * kPeriod);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ASSERT_TRUE(dropped);
    EXPECT_THAT(reasons_, ElementsAre("heard enough"));
    EXPECT_TRUE(idles_.empty());
}

TEST_F(TCPClientTimers, AfterItClosedTheConnectionTheIdleCheckRests) {
    client_->setReconnectDelay(1h);
    testing::internal::CaptureStderr();
    ASSERT_TRUE(startAndConnect());
    const bool dropped = closed();
    runFor(io_, 6 * kPeriod);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Pallwatch - TCP Client: socket no response. Closing.\n");
    ASSERT_TRUE(dropped);
    EXPECT_EQ(reasons_.size(), 1u);
}

TEST_F(TCPClientTimers, IdleCheckIsBackWithTheNextConnection) {
    testing::internal::CaptureStderr();
    client_->start();
    const bool twice = until([this] { return reasons_.size() == 2; });
    testing::internal::GetCapturedStderr();
    ASSERT_TRUE(twice);
    EXPECT_GE(closed_ - connectTime_, 2 * kPeriod);
}

// An external command may hold the loop for a minute.
TEST_F(TCPClientTimers, ReceiverThatTakesLongKeepsItsConnection) {
    bool done = false;
    int beats = 0;
    client_->setOnData([&](const char*, std::size_t, const IpDetails&) {
        std::this_thread::sleep_for(4 * kPeriod);
        beats = 0;
        done = true;
    });
    client_->setHeartbeat(5ms, [&] { ++beats; });
    ASSERT_TRUE(startAndConnect());
    peer_.last().send("x");
    ASSERT_TRUE(until([&] { return done; }));
    ASSERT_TRUE(until([&] { return beats == 2; }));
    EXPECT_TRUE(client_->connected());
    EXPECT_TRUE(reasons_.empty());
}

TEST_F(TCPClientTimers, HeartBeatsOncePerPeriodAfterTheConnect) {
    std::vector<steady_clock::time_point> beats;
    client_->setHeartbeat(20ms, [&] { beats.push_back(steady_clock::now()); });
    client_->setIdlePeriod(1h);
    ASSERT_TRUE(startAndConnect());
    ASSERT_TRUE(until([&] { return beats.size() == 3; }));
    for (std::size_t beat = 0; beat < 3; ++beat) {
        EXPECT_GE(beats[beat] - connectTime_, (beat + 1) * 20ms) << beat;
    }
}

TEST_F(TCPClientTimers, HeartDoesNotBeatWithoutAConnection) {
    int beats = 0;
    peer_.stopListening();
    client_->setHeartbeat(1ms, [&] { ++beats; });
    client_->start();
    runFor(io_, 50ms);
    EXPECT_EQ(beats, 0);
}

TEST_F(TCPClientTimers, HeartRestsAfterACloseAndBeatsAPeriodAfterTheReconnect) {
    int beats = 0;
    steady_clock::time_point lastBeat;
    client_->setIdlePeriod(1h);
    client_->setReconnectDelay(100ms);
    client_->setHeartbeat(30ms, [&] {
        ++beats;
        lastBeat = steady_clock::now();
    });
    ASSERT_TRUE(startAndConnect());
    ASSERT_TRUE(until([&] { return beats == 1; }));
    client_->close("test");
    runFor(io_, 60ms);
    EXPECT_EQ(beats, 1);
    ASSERT_TRUE(connected(2));
    ASSERT_TRUE(until([&] { return beats == 2; }));
    EXPECT_GE(lastBeat - connectTime_, 30ms);
}

TEST_F(TCPClientTimers, HeartbeatSetOnAConnectionBeginsAtOnce) {
    int beats = 0;
    client_->setIdlePeriod(1h);
    ASSERT_TRUE(startAndConnect());
    client_->setHeartbeat(5ms, [&] { ++beats; });
    EXPECT_TRUE(until([&] { return beats == 2; }));
}

TEST_F(TCPClientTimers, HeartbeatsArriveAtTheBus) {
    client_->setIdlePeriod(1h);
    client_->setHeartbeat(5ms, [this] { send({"beat "}); });
    ASSERT_TRUE(startAndConnect());
    EXPECT_TRUE(until([this] { return peer_.last().received().size() >= 10; }));
    EXPECT_EQ(peer_.last().received().substr(0, 10), "beat beat ");
}
