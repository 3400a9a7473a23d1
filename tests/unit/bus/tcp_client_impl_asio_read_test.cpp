#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "allocations.h"
#include "system_calls.h"
#include "tcp_client_fixture.h"

using lumo::TCPClientImplAsio;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

using IpDetails = TCPClientImplAsio::IpDetails;

class TCPClientRead : public TCPClientTest {
  protected:
    TCPClientRead() {
        client_->setOnClose([this](const std::string& reason) { reasons_.push_back(reason); });
    }
    void collect() {
        client_->setOnData([this](const char* data, std::size_t size, const IpDetails&) {
            ++chunks_;
            largest_ = std::max(largest_, size);
            received_.append(data, size);
        });
    }
    bool closed() {
        return until([this] { return !reasons_.empty(); });
    }

    std::vector<std::string> reasons_;
    std::string received_;
    int chunks_ = 0;
    std::size_t largest_ = 0;
};

}  // namespace

TEST_F(TCPClientRead, DeliversTheBytesAndWhereTheyCameFrom) {
    std::string from;
    client_->setOnData([&](const char* data, std::size_t size, const IpDetails& peer) {
        received_.append(data, size);
        from = peer.host + ":" + std::to_string(peer.port);
    });
    ASSERT_TRUE(startAndConnect());
    peer_.last().send(std::string("a\0b", 3));
    ASSERT_TRUE(until([this] { return received_.size() == 3; }));
    EXPECT_EQ(received_, std::string("a\0b", 3));
    EXPECT_EQ(from, "127.0.0.1:" + std::to_string(peer_.port()));
}

TEST_F(TCPClientRead, ChunksHoldAtMost8192Bytes) {
    collect();
    ASSERT_TRUE(startAndConnect());
    std::string sent;
    for (int i = 0; sent.size() < 100'000; ++i) {
        sent += std::to_string(i) + " ";
    }
    peer_.last().send(sent);
    ASSERT_TRUE(until([&] { return received_.size() == sent.size(); }));
    EXPECT_EQ(received_, sent);
    EXPECT_EQ(largest_, 8192u);
}

TEST_F(TCPClientRead, WithoutAReceiverBytesAreDropped) {
    ASSERT_TRUE(startAndConnect());
    peer_.last().send("nobody listens");
    runFor(io_, 5ms);
    collect();
    peer_.last().send("now");
    ASSERT_TRUE(until([this] { return received_.size() >= 3; }));
    EXPECT_EQ(received_, "now");
}

TEST_F(TCPClientRead, EndOfTheConnectionIsAReadError) {
    ASSERT_TRUE(startAndConnect());
    peer_.last().close();
    ASSERT_TRUE(closed());
    EXPECT_FALSE(client_->connected());
    EXPECT_TRUE(connected(2));
    EXPECT_THAT(reasons_, ElementsAre("read error"));
}

TEST_F(TCPClientRead, ResetOfTheConnectionIsAReadError) {
    ASSERT_TRUE(startAndConnect());
    peer_.last().reset();
    ASSERT_TRUE(closed());
    EXPECT_TRUE(connected(2));
    EXPECT_THAT(reasons_, ElementsAre("read error"));
}

TEST_F(TCPClientRead, AbortedReadIsIgnored) {
    collect();
    ASSERT_TRUE(startAndConnect());
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::receive, ECANCELED);
    peer_.last().send("x");
    ASSERT_TRUE(until([&] { return calls.count(SystemCall::receive) > 0; }));
    runFor(io_, 50ms);
    EXPECT_TRUE(client_->connected());
    EXPECT_TRUE(reasons_.empty());
    EXPECT_EQ(calls.count(SystemCall::receive), 1);
}

TEST_F(TCPClientRead, ClosedByTheReceiverReadsNoMoreOfThatConnection) {
    client_->setOnData([&](const char* data, std::size_t size, const IpDetails&) {
        received_.append(data, size);
        client_->close("heard enough");
    });
    ASSERT_TRUE(startAndConnect());
    peer_.last().send(std::string(10'000, 'x'));
    ASSERT_TRUE(connected(2));
    EXPECT_LE(received_.size(), 8192u);
    EXPECT_THAT(reasons_, ElementsAre("heard enough"));
}

// What the closed connection still had to tell is over when the next one is there.
TEST_F(TCPClientRead, CompletionsOfAReplacedSocketAreIgnored) {
    client_->setReconnectDelay(0ms);
    collect();
    ASSERT_TRUE(startAndConnect());
    for (std::size_t round = 1; round <= 20; ++round) {
        peer_.last().send("last words");
        client_->close("replaced");
        ASSERT_TRUE(connected(round + 1));
    }
    runFor(io_, 20ms);
    EXPECT_TRUE(client_->connected());
    EXPECT_EQ(peer_.connections(), 21u);
    EXPECT_EQ(reasons_.size(), 20u);
    EXPECT_EQ(received_, "");
}

// The second chunk was read already, but its turn comes after the close.
TEST_F(TCPClientRead, ChunkOfAReplacedSocketIsIgnored) {
    collect();
    ASSERT_TRUE(startAndConnect());
    peer_.last().send(std::string(10'000, 'x'));
    ASSERT_TRUE(until([this] { return chunks_ == 1; }));
    client_->close("replaced");
    ASSERT_TRUE(connected(2));
    EXPECT_EQ(chunks_, 1);
    EXPECT_THAT(reasons_, ElementsAre("replaced"));
}

// One recv takes the chunk, the other finds nothing more; one send answers.
TEST_F(TCPClientRead, ChunkCostsTwoReceivesOneSendAndNoTimer) {
    client_->setOnData([this](const char*, std::size_t, const IpDetails&) {
        ++chunks_;
        send({"6:", "answer", ";"});
        send({"6:", "answer", ";"});
    });
    ASSERT_TRUE(startAndConnect());
    peer_.last().send("first");
    ASSERT_TRUE(until([this] { return peer_.last().received().size() == 18; }));
    WatchedSystemCalls calls;
    for (std::size_t chunk = 2; chunk <= 11; ++chunk) {
        peer_.last().send("ask");
        ASSERT_TRUE(until([&] { return peer_.last().received().size() == 18 * chunk; }));
    }
    ASSERT_EQ(chunks_, 11);
    EXPECT_EQ(calls.count(SystemCall::receive), 20);
    EXPECT_EQ(calls.count(SystemCall::send), 10);
    EXPECT_EQ(calls.count(SystemCall::setTimer), 0);
}

TEST_F(TCPClientRead, ReceivingAllocatesNothing) {
    std::size_t atFirst = 0;
    client_->setOnData([&](const char*, std::size_t, const IpDetails&) {
        atFirst = ++chunks_ == 1 ? allocationCount() : atFirst;
    });
    ASSERT_TRUE(startAndConnect());
    // All there at once, so that nothing but the client runs between the chunks.
    peer_.last().send(std::string(8192 * 4, 'x'));
    WatchedSystemCalls calls;
    std::size_t atLast = 0;
    ASSERT_TRUE(until([&] {
        atLast = allocationCount();
        return chunks_ == 4;
    }));
    EXPECT_EQ(atLast - atFirst, 0u);
    EXPECT_EQ(calls.count(SystemCall::allocate), 0);
}
