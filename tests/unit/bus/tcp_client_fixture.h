#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <asio/io_service.hpp>
#include <gtest/gtest.h>

#include "bus/tcp_client_impl_asio.h"
#include "loop.h"
#include "scripted_peer.h"

// A client and the peer that it connects to, on one loop. Reconnects after 20 ms.
class TCPClientTest : public testing::Test {
  protected:
    TCPClientTest() { client_ = makeClient(peer_.port()); }

    std::unique_ptr<lumo::TCPClientImplAsio> makeClient(std::int32_t port) {
        auto client = std::make_unique<lumo::TCPClientImplAsio>(io_, "127.0.0.1", port);
        client->setName("Pallwatch");
        client->setReconnectDelay(std::chrono::milliseconds(20));
        return client;
    }
    std::error_code send(std::vector<std::string> parts) { return client_->send(parts); }

    template <typename Condition>
    bool until(Condition condition) {
        return runUntil(io_, condition);
    }
    // Until the client and the peer hold the given number of connections so far.
    bool connected(std::size_t connections = 1) {
        return until([&] { return client_->connected() && peer_.connections() == connections; });
    }
    bool startAndConnect() {
        client_->start();
        return connected();
    }
    bool peerHas(const std::string& bytes) {
        return until([&] { return peer_.last().received() == bytes; });
    }

    asio::io_service io_;
    ScriptedPeer peer_{io_};
    std::unique_ptr<lumo::TCPClientImplAsio> client_;
};
