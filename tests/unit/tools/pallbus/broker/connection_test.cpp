#include "pallbus/broker/connection.h"

#include <asio/buffer.hpp>
#include <asio/connect.hpp>
#include <asio/io_context.hpp>
#include <asio/read.hpp>
#include <gtest/gtest.h>

namespace pallbus::broker {
namespace {

using asio::ip::tcp;

// A connection and its peer, with small kernel buffers between them.
class ConnectionTest : public testing::Test {
  protected:
    ConnectionTest() {
        tcp::acceptor acceptor(io_, tcp::endpoint(asio::ip::address_v4::loopback(), 0));
        peer_.open(tcp::v4());
        peer_.set_option(tcp::socket::receive_buffer_size(4096));
        peer_.connect(acceptor.local_endpoint());
        tcp::socket socket = acceptor.accept();
        socket.set_option(tcp::socket::send_buffer_size(4096));
        connection_ = std::make_shared<Connection>(std::move(socket));
        connection_->start({[](auto) {}, [](auto) {}, [](const std::string&) {}});
    }
    ~ConnectionTest() override { connection_->close(); }

    // So many bytes as they come to the peer; the loop runs until they are there.
    std::string received(size_t size) {
        std::string bytes(size, '\0');
        bool complete = false;
        asio::async_read(peer_, asio::buffer(bytes),
                         [&](const asio::error_code& error, size_t) { complete = !error; });
        while (!complete && io_.run_one_for(std::chrono::seconds(30)) > 0) {
        }
        return complete ? bytes : "";
    }

    asio::io_context io_;
    tcp::socket peer_{io_};
    std::shared_ptr<Connection> connection_;
};

TEST_F(ConnectionTest, FlushingDoesNotInterleaveWithAWriteInFlight) {
    const std::string large(1'000'000, 'a');
    const std::string small(1000, 'b');
    connection_->send(large, faults::Delivery{});
    connection_->flushDelayed();  // begins to write before the turn is over in which that was due
    connection_->send(small, faults::Delivery{});
    EXPECT_TRUE(received(large.size() + small.size()) == large + small);
}

}  // namespace
}  // namespace pallbus::broker
