#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "descriptors.h"
#include "system_calls.h"
#include "tcp_client_fixture.h"

using lumo::TCPClientImplAsio;
using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

constexpr int kNotConnected = 107;
constexpr int kNoBufferSpace = 105;

class TCPClientSend : public TCPClientTest {
  protected:
    // Has each new connection begin with these strings.
    void logInWith(std::vector<std::string> parts) {
        client_->setOnConnect([this, parts](std::error_code error) {
            if (!error) {
                logins_.push_back(send(parts));
            }
            return std::error_code();
        });
    }

    std::vector<std::error_code> logins_;
};

// The peer does not read, and the big write is more than the buffers of both ends can hold.
class TCPClientStuck : public TCPClientSend {
  protected:
    TCPClientStuck() { peer_.acceptPaused(); }

    bool startAndGetStuck() { return startAndConnect() && !send({big_}); }
    // With no more than a mebibyte in flight: what the socket takes is written around the client.
    bool startAndFill() {
        if (!startAndConnect()) {
            return false;
        }
        const int socket = descriptorOfConnectionTo(peer_.port());
        // Some of it may still move on to the peer's end and make room again.
        for (int refusals = 0; refusals < 3;) {
            const ssize_t taken = ::send(socket, big_.data(), big_.size(), MSG_DONTWAIT);
            filled_.append(static_cast<std::size_t>(std::max<ssize_t>(taken, 0)), 'b');
            refusals = taken > 0 ? 0 : refusals + 1;
            std::this_thread::sleep_for(10ms);
        }
        filled_ += mebibyte_;
        return !send({mebibyte_});
    }

    const std::string mebibyte_ = std::string(1024 * 1024, 'm');
    const std::string big_ = std::string(32'000'000, 'b');
    std::string filled_;  // what the peer gets when it reads
};

}  // namespace

TEST_F(TCPClientSend, WithoutASocketIsNotConnected) {
    EXPECT_EQ(send({"before the start"}), std::error_code(kNotConnected, std::generic_category()));
}

TEST_F(TCPClientSend, ClosedSocketIsNoSocket) {
    ASSERT_TRUE(startAndConnect());
    client_->close("test");
    EXPECT_EQ(send({"x"}), std::error_code(kNotConnected, std::generic_category()));
}

TEST_F(TCPClientSend, FailedSocketIsNoSocket) {
    peer_.stopListening();
    std::error_code inCallback;
    client_->setOnConnect([&](std::error_code) {
        inCallback = send({"x"});
        return std::error_code();
    });
    client_->start();
    ASSERT_TRUE(until([&] { return inCallback.value() != 0; }));
    EXPECT_EQ(inCallback.value(), kNotConnected);
    EXPECT_EQ(send({"x"}).value(), kNotConnected);
}

TEST_F(TCPClientSend, RefusedStringsStayWithTheCaller) {
    std::vector<std::string> parts{"mine"};
    EXPECT_EQ(client_->send(parts).value(), kNotConnected);
    EXPECT_THAT(parts, ElementsAre("mine"));
}

TEST_F(TCPClientSend, StringsArriveInOrderBackToBack) {
    ASSERT_TRUE(startAndConnect());
    EXPECT_EQ(send({"2:", "ab", ";"}), std::error_code());
    EXPECT_EQ(send({"3:", "xyz", ";"}), std::error_code());
    EXPECT_TRUE(peerHas("2:ab;3:xyz;"));
}

TEST_F(TCPClientSend, NothingToSendIsNoError) {
    ASSERT_TRUE(startAndConnect());
    EXPECT_EQ(send({}), std::error_code());
    EXPECT_EQ(send({"", ""}), std::error_code());
    EXPECT_EQ(send({"x"}), std::error_code());
    EXPECT_TRUE(peerHas("x"));
}

TEST_F(TCPClientSend, OutsideABatchLeavesAtOnce) {
    ASSERT_TRUE(startAndConnect());
    send({"2:", "ab", ";"});
    EXPECT_EQ(peer_.last().takeNow(), "2:ab;");
}

// What was sent while the connection was made waits until the connection has said its own.
TEST_F(TCPClientSend, LoginGoesFirst) {
    logInWith({"hello ", "list "});
    client_->start();
    EXPECT_EQ(send({"early ", "bird "}), std::error_code());
    ASSERT_TRUE(connected());
    send({"later"});
    EXPECT_TRUE(peerHas("hello list early bird later"));
}

TEST_F(TCPClientSend, OtherThreadsWaitWhileTheLoginIsSaid) {
    client_->setOnConnect([this](std::error_code) {
        send({"hello "});
        std::thread([this] { send({"other "}); }).join();
        send({"list "});
        return std::error_code();
    });
    ASSERT_TRUE(startAndConnect());
    EXPECT_TRUE(peerHas("hello list other "));
}

TEST_F(TCPClientSend, BatchInTheLoginIsPartOfIt) {
    client_->setOnConnect([this](std::error_code) {
        const auto batch = client_->gather();
        send({"hello "});
        client_->flush();
        send({"list "});
        return std::error_code();
    });
    client_->start();
    send({"early "});
    ASSERT_TRUE(connected());
    EXPECT_TRUE(peerHas("hello list early "));
}

TEST_F(TCPClientSend, NothingIsWrittenBeforeTheLoginIsComplete) {
    WatchedSystemCalls calls;
    int sendsBefore = -1;
    client_->setOnConnect([&](std::error_code) {
        send({"hello "});
        client_->flush();
        sendsBefore = calls.count(SystemCall::send);
        return std::error_code();
    });
    client_->start();
    send({"early "});
    client_->flush();
    ASSERT_TRUE(connected());
    EXPECT_EQ(sendsBefore, 0);
    EXPECT_EQ(calls.count(SystemCall::send), 1);
    EXPECT_TRUE(peerHas("hello early "));
}

TEST_F(TCPClientSend, KeptAsideStringsAreLimitedAndDoNotCostTheLogin) {
    logInWith({"hello"});
    client_->start();
    EXPECT_EQ(send(std::vector<std::string>(1001, "x")), std::error_code());
    EXPECT_EQ(send({"y"}).value(), kNoBufferSpace);
    ASSERT_TRUE(connected());
    EXPECT_THAT(logins_, ElementsAre(std::error_code()));
    EXPECT_TRUE(peerHas("hello" + std::string(1001, 'x')));
}

TEST_F(TCPClientSend, WhatWaitedForAFailedAttemptIsDiscarded) {
    logInWith({"hello"});
    peer_.stopListening();
    client_->start();
    EXPECT_EQ(send({"old"}), std::error_code());
    // The attempt fails, and its strings with it.
    ASSERT_TRUE(until([this] { return send({}).value() == kNotConnected; }));
    peer_.listen();
    ASSERT_TRUE(connected());
    EXPECT_EQ(peer_.last().takeNow(), "hello");
}

TEST_F(TCPClientSend, WriteErrorClosesAndReconnects) {
    std::vector<std::string> reasons;
    client_->setOnClose([&](const std::string& reason) { reasons.push_back(reason); });
    logInWith({"hello"});
    ASSERT_TRUE(startAndConnect());
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::send, EPIPE);
    EXPECT_EQ(send({"lost"}), std::error_code());
    EXPECT_EQ(send({"lost too"}), std::error_code());
    ASSERT_TRUE(connected(2));
    EXPECT_THAT(reasons, ElementsAre("write error"));
    send({" again"});
    EXPECT_TRUE(peerHas("hello again"));
    EXPECT_EQ(peer_.session(0).received(), "hello");
}

TEST_F(TCPClientSend, WriteErrorOfAReplacedSocketIsIgnored) {
    std::vector<std::string> reasons;
    client_->setReconnectDelay(0ms);
    client_->setOnClose([&](const std::string& reason) { reasons.push_back(reason); });
    ASSERT_TRUE(startAndConnect());
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::send, EPIPE);
    send({"lost"});
    client_->close("replaced");
    ASSERT_TRUE(connected(2));
    runFor(io_, 20ms);
    EXPECT_TRUE(client_->connected());
    EXPECT_THAT(reasons, ElementsAre("replaced"));
}

TEST_F(TCPClientStuck, MoreThanAThousandWaitingStringsAreNoBufferSpace) {
    ASSERT_TRUE(startAndFill());
    for (int i = 0; i < 1001; ++i) {
        ASSERT_EQ(send({"x"}), std::error_code()) << i;
    }
    EXPECT_EQ(send({"y", "z"}), std::error_code(kNoBufferSpace, std::generic_category()));
    peer_.last().resumeReading();
    EXPECT_TRUE(peerHas(filled_ + std::string(1001, 'x')));
    EXPECT_EQ(send({"free"}), std::error_code());
    EXPECT_TRUE(peerHas(filled_ + std::string(1001, 'x') + "free"));
}

// The strings of one call are counted when the next one comes.
TEST_F(TCPClientStuck, OneCallMayGoOverTheLimit) {
    ASSERT_TRUE(startAndFill());
    EXPECT_EQ(send(std::vector<std::string>(1000, "x")), std::error_code());
    EXPECT_EQ(send(std::vector<std::string>(5000, "x")), std::error_code());
    EXPECT_EQ(send({"y"}).value(), kNoBufferSpace);
}

// The first write of all meets a socket that takes nothing.
TEST_F(TCPClientStuck, FullSocketDoesNotHoldTheSender) {
    ASSERT_TRUE(startAndConnect());
    const int descriptor = descriptorOfConnectionTo(peer_.port());
    std::string filled;
    ssize_t taken = 0;
    while ((taken = ::send(descriptor, big_.data(), big_.size(), MSG_DONTWAIT)) > 0) {
        filled.append(static_cast<std::size_t>(taken), 'b');
    }
    EXPECT_EQ(send({"late"}), std::error_code());
    peer_.last().resumeReading();
    EXPECT_TRUE(peerHas(filled + "late"));
}

TEST_F(TCPClientStuck, StringsBehindAStuckWriteGoOutTogetherWhenItIsDone) {
    ASSERT_TRUE(startAndFill());
    std::string expected = filled_;
    for (int i = 0; i < 300; ++i) {
        send({std::to_string(i), " "});
        expected += std::to_string(i) + " ";
    }
    peer_.last().resumeReading();
    EXPECT_TRUE(peerHas(expected));
}

TEST_F(TCPClientStuck, WhatIsQueuedDoesNotSurviveTheConnection) {
    logInWith({"hello"});
    ASSERT_TRUE(startAndGetStuck());
    send({"old"});
    peer_.last().reset();
    ASSERT_TRUE(connected(2));
    peer_.last().resumeReading();
    send({" new"});
    EXPECT_TRUE(peerHas("hello new"));
}

TEST_F(TCPClientStuck, StuckWriteOfAReplacedSocketIsIgnored) {
    client_->setReconnectDelay(0ms);
    std::vector<std::string> reasons;
    client_->setOnClose([&](const std::string& reason) { reasons.push_back(reason); });
    ASSERT_TRUE(startAndGetStuck());
    client_->close("replaced");
    ASSERT_TRUE(connected(2));
    ASSERT_EQ(send({big_}), std::error_code());
    runFor(io_, 20ms);
    peer_.last().resumeReading();
    EXPECT_TRUE(peerHas(big_));
    EXPECT_THAT(reasons, ElementsAre("replaced"));
}

// What does not fit is dropped message by message, never in the middle of one.
TEST_F(TCPClientStuck, BatchBehindAStuckWriteIsTakenByWholeMessages) {
    ASSERT_TRUE(startAndFill());
    {
        const auto batch = client_->gather();
        for (int i = 0; i < 1000; ++i) {
            ASSERT_EQ(send({"a", "b", "c"}), std::error_code());
        }
    }
    std::string expected = filled_;
    for (int i = 0; i < 334; ++i) {  // 1002 strings: the next one finds more than 1000
        expected += "abc";
    }
    peer_.last().resumeReading();
    EXPECT_TRUE(peerHas(expected));
    send({"!"});
    EXPECT_TRUE(peerHas(expected + "!"));
}

// The loop does not go on with the write under way; each later send does.
TEST_F(TCPClientStuck, AfterASignalEachSendWritesAsFarAsThereIsRoom) {
    ASSERT_TRUE(startAndFill());
    std::raise(SIGTERM);
    ASSERT_TRUE(until([this] { return !client_->connected(); }));
    EXPECT_EQ(send({"last words"}), std::error_code());
    peer_.last().resumeReading();
    EXPECT_TRUE(until([this] {
        client_->flush();
        return peer_.last().received() == filled_ + "last words";
    }));
}

// So that a large message is not put together for nothing.
TEST_F(TCPClientStuck, SaysBeforehandWhatWillFindNoRoom) {
    EXPECT_TRUE(client_->refuses(1)) << "without a socket";
    ASSERT_TRUE(startAndConnect());
    EXPECT_FALSE(client_->refuses(big_.size())) << "a single message always fits";
    peer_.last().resumeReading();
}

TEST_F(TCPClientStuck, SaysBeforehandWhatWillFindNoRoomBehindAWrite) {
    ASSERT_TRUE(startAndGetStuck());
    EXPECT_TRUE(client_->refuses(1));
}

TEST_F(TCPClientStuck, MoreThanFourMebibytesAreNoBufferSpace) {
    ASSERT_TRUE(startAndFill());
    ASSERT_EQ(send({mebibyte_}), std::error_code());
    ASSERT_EQ(send({mebibyte_}), std::error_code());
    EXPECT_EQ(send({mebibyte_, "!"}).value(), kNoBufferSpace) << "with what is in flight";
    EXPECT_EQ(send({"small"}), std::error_code());
    peer_.last().resumeReading();
    EXPECT_TRUE(peerHas(filled_ + mebibyte_ + mebibyte_ + "small"));
    EXPECT_EQ(send({mebibyte_, "!"}), std::error_code());
}
