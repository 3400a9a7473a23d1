#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include "bus/timer.h"
#include "pallbus/broker/broker.h"
#include "pallbus/broker/connection.h"
#include "pallbus/broker/fault_scheduler.h"
#include "pallbus/faults/fault_injector.h"

namespace pallbus::broker {

// The simulated bus on its port of 127.0.0.1: accepts as many clients as there are descriptors, and
// connects them through a broker and a fault injector. Destroyed before the loop is; thread of the
// loop.
class Server {
  public:
    // Receives one line for each client that connects, disconnects or sends an invalid message.
    using Report = std::function<void(const std::string& line)>;

    // Starts to listen; port 0 takes any free port. `seed` is that of the fault injector. Throws
    // asio::system_error when it cannot listen.
    Server(asio::io_context& io, uint16_t port, uint64_t seed, Report report);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Sees the messages on the bus from now on.
    void setTap(Broker::Tap tap) { broker_.setTap(std::move(tap)); }

    uint16_t port() const { return endpoint_.port(); }
    FaultScheduler& faultScheduler() { return faultScheduler_; }

  private:
    using Payload = Connection::Payload;

    void listen();
    void listenAgain();
    void accept();
    void acceptAgain();
    void addConnection(asio::ip::tcp::socket socket);
    void removeConnection(ClientID client, const std::string& reason);
    void receive(ClientID client, Payload payload);
    void route(ClientID client, Payload payload);
    void deliver(ClientID client, const std::string& frame);
    void scheduleTimeout();
    void answerTimedOut();

    void applyActiveFaults();
    faults::Delivery applyFaults(faults::Direction direction, ClientID client,
                                 std::string_view message);
    std::vector<std::shared_ptr<Connection>> findConnections(
        std::optional<int32_t> connectionID) const;
    void closeConnections(std::optional<int32_t> connectionID);
    void flushDelayed();

    asio::io_context& io_;
    asio::ip::tcp::endpoint endpoint_;
    asio::ip::tcp::acceptor acceptor_;
    lumo::Timer acceptPause_;
    lumo::Timer timeoutTimer_;
    Report report_;
    ClientID lastClient_ = 0;
    std::map<ClientID, std::shared_ptr<Connection>> connections_;
    Broker broker_;
    faults::FaultInjector faults_;
    FaultScheduler faultScheduler_;
};

}  // namespace pallbus::broker
