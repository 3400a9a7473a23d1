#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

#include <asio/error.hpp>
#include <asio/system_error.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "descriptors.h"
#include "full_listener.h"
#include "system_calls.h"
#include "tcp_client_fixture.h"

using lumo::TCPClientImplAsio;
using namespace std::chrono_literals;
using std::chrono::steady_clock;
using testing::ElementsAre;

namespace {

class TCPClientConnect : public TCPClientTest {
  protected:
    // Has the client note the outcome and the time of each attempt, and report no error.
    void noteAttempts() {
        client_->setOnConnect([this](std::error_code error) {
            outcomes_.push_back(error);
            times_.push_back(steady_clock::now());
            return std::error_code();
        });
    }

    std::vector<std::error_code> outcomes_;
    std::vector<steady_clock::time_point> times_;
};

std::string captureErrors(asio::io_service& io, const std::function<bool()>& condition) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(runUntil(io, condition));
    return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST_F(TCPClientConnect, TellsTheEndpointAndThenTheOutcome) {
    std::vector<std::string> diary;
    client_->setOnConnecting([&](const TCPClientImplAsio::IpDetails& to) {
        diary.push_back("to " + to.host + ":" + std::to_string(to.port));
    });
    client_->setOnConnect([&](std::error_code error) {
        diary.push_back(error ? "failed" : "connected");
        return std::error_code();
    });
    ASSERT_TRUE(startAndConnect());
    EXPECT_THAT(diary, ElementsAre("to 127.0.0.1:" + std::to_string(peer_.port()), "connected"));
}

TEST_F(TCPClientConnect, WithoutABusTriesOncePerDelayAndLogsNothing) {
    peer_.stopListening();
    noteAttempts();
    client_->start();
    const std::string errors = captureErrors(io_, [this] { return outcomes_.size() == 4; });
    EXPECT_EQ(errors, "");
    for (std::size_t attempt = 0; attempt < 4; ++attempt) {
        EXPECT_EQ(outcomes_[attempt], asio::error::connection_refused);
        if (attempt > 0) {
            EXPECT_GE(times_[attempt] - times_[attempt - 1], 20ms);
        }
    }
}

TEST_F(TCPClientConnect, IsBackAfterTheDelayOnceTheBusListens) {
    peer_.stopListening();
    noteAttempts();
    client_->start();
    ASSERT_TRUE(until([this] { return outcomes_.size() == 2; }));
    peer_.listen();
    ASSERT_TRUE(connected());
    EXPECT_EQ(outcomes_.size(), 3u);
}

TEST_F(TCPClientConnect, DelayIsASecondUnlessToldOtherwise) {
    const TCPClientImplAsio client(io_, "127.0.0.1", peer_.port());
    EXPECT_EQ(client.reconnectDelay(), 1000ms);
}

TEST_F(TCPClientConnect, PrintsTheErrorThatOnConnectReturns) {
    peer_.stopListening();
    int attempts = 0;
    client_->setOnConnect([&](std::error_code error) {
        ++attempts;
        return error;
    });
    client_->start();
    const std::string line = "Pallwatch - connectHandler Error: Connection refused to 127.0.0.1:" +
                             std::to_string(peer_.port()) + "\n";
    EXPECT_EQ(captureErrors(io_, [&] { return attempts == 2; }), line + line);
}

TEST_F(TCPClientConnect, ErrorOfOnConnectDoesNotEndAGoodConnection) {
    client_->setOnConnect(
        [](std::error_code) { return make_error_code(std::errc::permission_denied); });
    client_->start();
    EXPECT_EQ(captureErrors(io_, [this] { return client_->connected(); }),
              "Pallwatch - connectHandler Error: Permission denied to 127.0.0.1:" +
                  std::to_string(peer_.port()) + "\n");
    ASSERT_TRUE(connected());
    EXPECT_EQ(send({"still here"}), std::error_code());
    EXPECT_TRUE(peerHas("still here"));
}

class TCPClientPort : public TCPClientConnect, public testing::WithParamInterface<std::int32_t> {};

TEST_P(TCPClientPort, OutOfRangeMakesNoAttemptAndSchedulesAReconnect) {
    client_ = makeClient(GetParam());
    int attempts = 0;
    client_->setOnConnecting([&](const TCPClientImplAsio::IpDetails&) { ++attempts; });
    const auto begin = steady_clock::now();
    WatchedSystemCalls calls;
    client_->start();
    io_.poll();  // the waits by which the client made room for its timers
    // The reconnect timer is all that can happen on this loop.
    EXPECT_EQ(io_.run_one_for(20s), 1u);
    EXPECT_EQ(io_.run_one_for(20s), 1u);
    EXPECT_GE(steady_clock::now() - begin, 40ms);
    EXPECT_EQ(attempts, 0);
    EXPECT_EQ(calls.count(SystemCall::socket), 0);
}

INSTANTIATE_TEST_SUITE_P(Ports, TCPClientPort, testing::Values(0, 65536, -1));

TEST_F(TCPClientConnect, PortsAtTheEndsOfTheRangeAreTried) {
    for (const std::int32_t port : {1, 65535}) {
        client_ = makeClient(port);
        outcomes_.clear();
        noteAttempts();
        client_->start();
        EXPECT_TRUE(until([this] { return !outcomes_.empty(); })) << port;
    }
}

TEST_F(TCPClientConnect, ThrowsWhenTheHostCannotBeResolved) {
    TCPClientImplAsio client(io_, std::string(300, 'x'), peer_.port());
    try {
        client.start();
        FAIL() << "resolved a name that is too long";
    } catch (const asio::system_error& error) {
        EXPECT_EQ(std::string(error.what()).rfind("resolve: ", 0), 0u) << error.what();
    }
    std::vector<std::string> parts{"x"};
    EXPECT_EQ(client.send(parts).value(), 107);
}

TEST_F(TCPClientConnect, ResolvesNames) {
    client_ = std::make_unique<TCPClientImplAsio>(io_, "localhost", peer_.port());
    EXPECT_TRUE(startAndConnect());
}

TEST_F(TCPClientConnect, NagleStaysOn) {
    WatchedSystemCalls calls;
    ASSERT_TRUE(startAndConnect());
    EXPECT_THAT(calls.noDelayValues(), ElementsAre(0));
    peer_.last().close();
    ASSERT_TRUE(connected(2));
    EXPECT_THAT(calls.noDelayValues(), ElementsAre(0, 0));
}

TEST_F(TCPClientConnect, ThrowsOutOfTheLoopWhenTheOptionCannotBeWritten) {
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::noDelay, ENOPROTOOPT);
    try {
        startAndConnect();
        FAIL() << "went on without the option";
    } catch (const asio::system_error& error) {
        EXPECT_EQ(error.code().value(), ENOPROTOOPT);
        EXPECT_EQ(std::string(error.what()).rfind("set_option: ", 0), 0u) << error.what();
    }
}

TEST_F(TCPClientConnect, OptionIsWrittenBeforeTheLoginLeaves) {
    client_->setOnConnect([this](std::error_code error) {
        send({"login"});
        return error;
    });
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::noDelay, ENOPROTOOPT);
    EXPECT_THROW(startAndConnect(), asio::system_error);
    EXPECT_EQ(calls.count(SystemCall::send), 0);
}

TEST_F(TCPClientConnect, WithoutADescriptorTriesAgain) {
    WatchedSystemCalls calls;
    noteAttempts();
    calls.failNext(SystemCall::socket, EMFILE);
    ASSERT_TRUE(startAndConnect());
    ASSERT_EQ(outcomes_.size(), 2u);
    EXPECT_EQ(outcomes_[0].value(), EMFILE);
}

TEST_F(TCPClientConnect, UndecidedAttemptFailsAfterItsLimitAndIsMadeAgain) {
    const FullListener busy;
    client_ = makeClient(busy.port());
    client_->setConnectLimit(50ms);
    client_->setOnConnect([this](std::error_code error) {
        times_.push_back(steady_clock::now());
        return error;
    });
    const auto begin = steady_clock::now();
    client_->start();
    const std::string errors = captureErrors(io_, [this] { return times_.size() == 2; });
    const std::string line =
        "Pallwatch - connectHandler Error: Connection timed out to 127.0.0.1:" +
        std::to_string(busy.port()) + "\n";
    EXPECT_EQ(errors, line + line);
    EXPECT_GE(times_[0] - begin, 50ms);
    EXPECT_GE(times_[1] - times_[0], 70ms) << "the delay, then another attempt";
}

TEST_F(TCPClientConnect, LimitOfAnAttemptDoesNotOutliveIt) {
    client_->setConnectLimit(20ms);
    noteAttempts();
    ASSERT_TRUE(startAndConnect());
    runFor(io_, 50ms);
    EXPECT_TRUE(client_->connected());
    client_->close("test");
    ASSERT_TRUE(connected(2));
    EXPECT_EQ(outcomes_.size(), 2u);
}

TEST_F(TCPClientConnect, NothingIsInheritedByCommands) {
    const std::vector<int> before = descriptors();
    asio::io_service io;
    TCPClientImplAsio client(io, "127.0.0.1", peer_.port());
    client.start();
    ASSERT_TRUE(runUntil(io, [&] { return client.connected(); }));
    for (const int descriptor : descriptors()) {
        const bool isNew = std::find(before.begin(), before.end(), descriptor) == before.end();
        const int flags = ::fcntl(descriptor, F_GETFD);
        if (!isNew || flags == -1) {
            continue;
        }
        EXPECT_EQ(flags & FD_CLOEXEC, FD_CLOEXEC)
            << std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
    }
    EXPECT_GE(descriptorOfConnectionTo(peer_.port()), 0);
}

TEST_F(TCPClientConnect, CloseTellsTheReasonAndReconnectsAfterTheDelay) {
    std::vector<std::string> reasons;
    client_->setOnClose([&](const std::string& reason) { reasons.push_back(reason); });
    noteAttempts();
    ASSERT_TRUE(startAndConnect());
    const auto closed = steady_clock::now();
    client_->close("enough");
    EXPECT_FALSE(client_->connected());
    EXPECT_TRUE(until([this] { return peer_.session(0).ended(); }));
    ASSERT_TRUE(connected(2));
    EXPECT_THAT(reasons, ElementsAre("enough"));
    EXPECT_GE(times_[1] - closed, 20ms);
}

TEST_F(TCPClientConnect, FurtherClosesDoNotPushThePendingReconnectAway) {
    steady_clock::time_point attempt;
    int attempts = 0;
    client_->setOnConnecting([&](const TCPClientImplAsio::IpDetails&) {
        ++attempts;
        attempt = steady_clock::now();
    });
    client_->setReconnectDelay(100ms);
    ASSERT_TRUE(startAndConnect());
    const auto closed = steady_clock::now();
    int closes = 0;
    ASSERT_TRUE(until([&] {
        if (attempts == 1) {
            client_->close("again");
            ++closes;
        }
        return attempts == 2;
    }));
    EXPECT_GE(attempt - closed, 100ms);
    EXPECT_GT(closes, 2);
}

TEST_F(TCPClientConnect, ClosedWhileConnectingIgnoresTheOldAttempt) {
    noteAttempts();
    client_->start();
    client_->close("changed my mind");
    ASSERT_TRUE(until([this] { return client_->connected(); }));
    EXPECT_EQ(outcomes_.size(), 1u);
}

TEST_F(TCPClientConnect, ClosedByOnConnectingMakesItsAttemptAfterTheDelay) {
    int attempts = 0;
    client_->setOnConnecting([&](const TCPClientImplAsio::IpDetails&) {
        if (++attempts == 1) {
            client_->close("not yet");
        }
    });
    ASSERT_TRUE(startAndConnect());
    EXPECT_EQ(attempts, 2);
}

TEST_F(TCPClientConnect, ClosedByOnConnectReadsNothingAndConnectsAgain) {
    int connects = 0;
    client_->setOnConnect([&](std::error_code error) {
        if (++connects == 1) {
            client_->close("not you");
        }
        return error;
    });
    client_->start();
    ASSERT_TRUE(connected(2));
    EXPECT_EQ(connects, 2);
    EXPECT_TRUE(until([this] { return peer_.session(0).ended(); }));
}
