#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "full_listener.h"
#include "tcp_client_fixture.h"

using namespace std::chrono_literals;

namespace {

class TCPClientStop : public TCPClientTest {
  protected:
    TCPClientStop() {
        client_->setOnConnecting(
            [this](const lumo::TCPClientImplAsio::IpDetails&) { ++attempts_; });
        client_->setOnClose([this](const std::string&) { ++closes_; });
        client_->setHeartbeat(1ms, [this] { ++beats_; });
    }
    // Nothing happens any more: no attempt, no heartbeat, no connection.
    void expectStopped() {
        EXPECT_TRUE(until([this] { return peer_.session(0).ended(); }));
        expectNoActivity();
        EXPECT_EQ(send({"x"}).value(), 107);
    }
    void expectNoActivity() {
        const int attempts = attempts_;
        const int beats = beats_;
        runFor(io_, 60ms);
        EXPECT_EQ(attempts_, attempts);
        EXPECT_EQ(beats_, beats);
        EXPECT_EQ(peer_.connections(), 1u);
        EXPECT_FALSE(client_->connected());
        EXPECT_EQ(closes_, 0);
    }

    int attempts_ = 0;
    int closes_ = 0;
    int beats_ = 0;
};

class TCPClientSignal : public TCPClientStop, public testing::WithParamInterface<int> {};

}  // namespace

TEST_F(TCPClientStop, EndsAllActivity) {
    ASSERT_TRUE(startAndConnect());
    client_->stop();
    EXPECT_TRUE(client_->connected()) << "the loop stops it, not the call";
    ASSERT_TRUE(until([this] { return !client_->connected(); }));
    expectStopped();
}

TEST_F(TCPClientStop, MayBeCalledFromAnotherThreadAndTwice) {
    ASSERT_TRUE(startAndConnect());
    std::thread([this] {
        client_->stop();
        client_->stop();
    }).join();
    ASSERT_TRUE(until([this] { return !client_->connected(); }));
    expectStopped();
}

TEST_F(TCPClientStop, IsPostedOnce) {
    client_->stop();
    client_->stop();
    EXPECT_EQ(io_.poll(), 1u);
}

TEST_F(TCPClientStop, EndsAPendingReconnect) {
    client_->setReconnectDelay(1h);
    ASSERT_TRUE(startAndConnect());
    client_->close("test");
    client_->stop();
    peer_.stopListening();
    io_.restart();
    io_.run_for(20s);
    EXPECT_TRUE(io_.stopped());
    EXPECT_EQ(attempts_, 1);
}

TEST_F(TCPClientStop, EndsAConnectUnderWay) {
    int outcomes = 0;
    client_->setOnConnect([&](std::error_code error) {
        ++outcomes;
        return error;
    });
    client_->start();
    client_->stop();
    runFor(io_, 60ms);
    EXPECT_EQ(outcomes, 0);
    EXPECT_FALSE(client_->connected());
}

TEST_F(TCPClientStop, LeavesTheLoopNothingToWaitFor) {
    ASSERT_TRUE(startAndConnect());
    client_->stop();
    peer_.stopListening();
    io_.restart();
    io_.run_for(20s);
    EXPECT_TRUE(io_.stopped());
}

TEST_F(TCPClientStop, StoppedClientNeitherClosesNorStarts) {
    ASSERT_TRUE(startAndConnect());
    client_->stop();
    ASSERT_TRUE(until([this] { return !client_->connected(); }));
    client_->close("too late");
    client_->start();
    expectStopped();
}

TEST_P(TCPClientSignal, EndsAllActivityAndLeavesTheConnectionToOtherThreads) {
    ASSERT_TRUE(startAndConnect());
    std::raise(GetParam());
    ASSERT_TRUE(until([this] { return !client_->connected(); }));
    expectNoActivity();
    std::thread([this] { EXPECT_EQ(send({"last words"}), std::error_code()); }).join();
    EXPECT_EQ(peer_.last().takeNow(), "last words");
    client_.reset();
    EXPECT_TRUE(until([this] { return peer_.last().ended(); }));
}

INSTANTIATE_TEST_SUITE_P(Signals, TCPClientSignal, testing::Values(SIGINT, SIGTERM, SIGQUIT));

TEST_F(TCPClientStop, SignalEndsAConnectUnderWay) {
    const FullListener busy;
    client_ = makeClient(busy.port());
    client_->start();
    ASSERT_EQ(send({"early"}), std::error_code());
    std::raise(SIGTERM);
    ASSERT_TRUE(until([this] { return send({"x"}).value() == 107; }));
    peer_.stopListening();
    io_.restart();
    io_.run_for(20s);
    EXPECT_TRUE(io_.stopped()) << "something still waits";
}

TEST_F(TCPClientStop, SignalLeavesTheLoopNothingToWaitFor) {
    ASSERT_TRUE(startAndConnect());
    std::raise(SIGTERM);
    peer_.stopListening();
    peer_.last().close();
    io_.restart();
    io_.run_for(20s);
    EXPECT_TRUE(io_.stopped());
}

// Whatever is still under way on the loop finds nobody any more.
TEST_F(TCPClientStop, DestroyedClientLeavesNothingBehind) {
    ASSERT_TRUE(startAndConnect());
    peer_.last().send("unread");
    send({"unwritten"});
    client_->stop();
    client_.reset();
    EXPECT_TRUE(until([this] { return peer_.last().ended(); }));
    client_ = makeClient(peer_.port());
    client_->start();
    client_.reset();
    client_ = makeClient(0);
    client_->start();
    client_.reset();
    runFor(io_, 60ms);
    EXPECT_EQ(attempts_, 1);
}
