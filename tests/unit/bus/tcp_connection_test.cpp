#include "bus/tcp_connection.h"

#include <fcntl.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include <asio/error.hpp>
#include <asio/io_service.hpp>
#include <gtest/gtest.h>

#include "descriptors.h"
#include "loop.h"
#include "scripted_peer.h"
#include "system_calls.h"

using asio::ip::tcp;
using lumo::TcpConnection;

namespace {

class TcpConnectionTest : public testing::Test, public TcpConnection::Owner {
  protected:
    asio::io_service io_;
    ScriptedPeer peer_{io_};
    std::shared_ptr<TcpConnection> connection_ = std::make_shared<TcpConnection>(io_, *this);
    std::optional<std::error_code> outcome_;

    void connectDone(const std::error_code& error) override { outcome_ = error; }
    void readDone(const std::error_code&, std::size_t) override {}
    void writeFailed() override {}

    tcp::endpoint at(const char* address) {
        return {asio::ip::make_address(address), static_cast<std::uint16_t>(peer_.port())};
    }
    void connect(TcpConnection::Endpoints endpoints) { connection_->connect(std::move(endpoints)); }
    bool isSocketOpen() { return descriptorOfConnectionTo(peer_.port()) != -1; }
    bool done() {
        return runUntil(io_, [this] { return outcome_.has_value(); });
    }
};

}  // namespace

TEST_F(TcpConnectionTest, ConnectsToTheFirstAddressThatAccepts) {
    // Nobody listens on 127.0.0.2.
    connect({at("127.0.0.2"), at("127.0.0.1")});
    EXPECT_FALSE(outcome_.has_value());
    ASSERT_TRUE(done());
    EXPECT_EQ(*outcome_, std::error_code());
    EXPECT_TRUE(runUntil(io_, [this] { return peer_.connections() == 1; }));
}

TEST_F(TcpConnectionTest, TriesNoAddressAfterTheOneThatAccepts) {
    connect({at("127.0.0.1"), at("127.0.0.1")});
    ASSERT_TRUE(done());
    runFor(io_, std::chrono::milliseconds(20));
    EXPECT_EQ(peer_.connections(), 1u);
}

TEST_F(TcpConnectionTest, ReportsTheErrorOfTheLastAddress) {
    peer_.stopListening();
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::socket, EMFILE);
    connect({at("127.0.0.1"), at("127.0.0.1")});
    ASSERT_TRUE(done());
    EXPECT_EQ(*outcome_, asio::error::connection_refused);
}

TEST_F(TcpConnectionTest, WithoutADescriptorReportsSoFromTheLoop) {
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::socket, EMFILE);
    connect({at("127.0.0.1")});
    EXPECT_FALSE(outcome_.has_value());
    ASSERT_TRUE(done());
    EXPECT_EQ(outcome_->value(), EMFILE);
}

TEST_F(TcpConnectionTest, ClosedWhileConnectingReportsNothingAndTriesNoMore) {
    connect({at("127.0.0.1"), at("127.0.0.1")});
    connection_->close();
    runFor(io_, std::chrono::milliseconds(20));
    EXPECT_FALSE(outcome_.has_value());
    EXPECT_FALSE(isSocketOpen());
}

TEST_F(TcpConnectionTest, ClosedBeforeConnectingStaysClosed) {
    connection_->close();
    connect({at("127.0.0.1")});
    EXPECT_FALSE(isSocketOpen());
    runFor(io_, std::chrono::milliseconds(20));
    EXPECT_EQ(peer_.connections(), 0u);
}

// The loop may never come to the end of the connect.
TEST_F(TcpConnectionTest, ClosedConnectionIsFreedWithTheLoop) {
    std::weak_ptr<TcpConnection> watched;
    {
        asio::io_service stopped;
        const auto connection = std::make_shared<TcpConnection>(stopped, *this);
        watched = connection;
        connection->connect({at("127.0.0.1")});
        connection->close();
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(TcpConnectionTest, SocketsAreNotInheritedByCommands) {
    connect({at("127.0.0.2"), at("127.0.0.1")});
    ASSERT_TRUE(done());
    EXPECT_EQ(::fcntl(descriptorOfConnectionTo(peer_.port()), F_GETFD), FD_CLOEXEC);
}
