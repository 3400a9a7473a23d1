#include "bus/tcp_link.h"

#include <fcntl.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include <asio/error.hpp>
#include <asio/io_service.hpp>
#include <gtest/gtest.h>

#include "loop.h"
#include "scripted_peer.h"
#include "system_calls.h"

using asio::ip::tcp;
using lumo::TcpLink;

namespace {

class TcpLinkTest : public testing::Test {
  protected:
    asio::io_service io_;
    ScriptedPeer peer_{io_};
    std::shared_ptr<TcpLink> link_ = std::make_shared<TcpLink>(io_);
    std::optional<std::error_code> outcome_;

    tcp::endpoint at(const char* address) {
        return {asio::ip::make_address(address), static_cast<std::uint16_t>(peer_.port())};
    }
    void dial(TcpLink::Endpoints endpoints) {
        link_->dial(std::move(endpoints), [this](const std::error_code& e) { outcome_ = e; });
    }
    bool done() {
        return runUntil(io_, [this] { return outcome_.has_value(); });
    }
};

}  // namespace

TEST_F(TcpLinkTest, ConnectsToTheFirstAddressThatAccepts) {
    // Nobody listens on 127.0.0.2.
    dial({at("127.0.0.2"), at("127.0.0.1")});
    EXPECT_FALSE(outcome_.has_value());
    ASSERT_TRUE(done());
    EXPECT_EQ(*outcome_, std::error_code());
    EXPECT_EQ(link_->socket().remote_endpoint(), at("127.0.0.1"));
    EXPECT_TRUE(runUntil(io_, [this] { return peer_.connections() == 1; }));
}

TEST_F(TcpLinkTest, TriesNoAddressAfterTheOneThatAccepts) {
    dial({at("127.0.0.1"), at("127.0.0.1")});
    ASSERT_TRUE(done());
    runFor(io_, std::chrono::milliseconds(20));
    EXPECT_EQ(peer_.connections(), 1u);
}

TEST_F(TcpLinkTest, TellsTheErrorOfTheLastAddress) {
    peer_.stopListening();
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::socket, EMFILE);
    dial({at("127.0.0.1"), at("127.0.0.1")});
    ASSERT_TRUE(done());
    EXPECT_EQ(*outcome_, asio::error::connection_refused);
}

TEST_F(TcpLinkTest, WithoutADescriptorTellsSoFromTheLoop) {
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::socket, EMFILE);
    dial({at("127.0.0.1")});
    EXPECT_FALSE(outcome_.has_value());
    ASSERT_TRUE(done());
    EXPECT_EQ(outcome_->value(), EMFILE);
}

TEST_F(TcpLinkTest, RetiredWhileConnectingTellsNothingAndTriesNoMore) {
    dial({at("127.0.0.1"), at("127.0.0.1")});
    link_->retire();
    runFor(io_, std::chrono::milliseconds(20));
    EXPECT_FALSE(outcome_.has_value());
    EXPECT_FALSE(link_->socket().is_open());
}

TEST_F(TcpLinkTest, RetiredBeforeDialingStaysClosed) {
    link_->retire();
    dial({at("127.0.0.1")});
    EXPECT_FALSE(link_->socket().is_open());
}

// The loop may never come to the end of the connect.
TEST_F(TcpLinkTest, RetiredLinkIsFreedThoughItsCallbackHoldsIt) {
    std::weak_ptr<TcpLink> watched;
    {
        asio::io_service stopped;
        const auto link = std::make_shared<TcpLink>(stopped);
        watched = link;
        link->dial({at("127.0.0.1")}, [link](const std::error_code&) {});
        link->retire();
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(TcpLinkTest, SocketsAreNotInheritedByCommands) {
    dial({at("127.0.0.2"), at("127.0.0.1")});
    ASSERT_TRUE(done());
    EXPECT_EQ(::fcntl(link_->socket().native_handle(), F_GETFD), FD_CLOEXEC);
}
