// A payload from a client passes the faults (receive), waits in its connection if they delay it,
// and reaches the broker (route), which calls deliver() for each recipient; there the frame passes
// the faults again before the connection queues it. Faults on messages are asked for one by one;
// those on the acceptor and on reading are applied when the active faults change.

#include "pallbus/broker/server.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace pallbus::broker {

namespace {

using asio::ip::tcp;
using faults::Delivery;
using faults::Direction;

// How long to wait for clients to disconnect when there is no free descriptor.
constexpr std::chrono::milliseconds kAcceptPause{100};

std::string clientName(ClientID client) {
    return "client " + std::to_string(client);
}

}  // namespace

Server::Server(asio::io_context& io, uint16_t port, uint64_t seed, Report report)
    : io_(io),
      endpoint_(asio::ip::address_v4::loopback(), port),
      acceptor_(io),
      acceptPause_(io, [this] { acceptAgain(); }),
      timeoutTimer_(io, [this] { answerTimedOut(); }),
      report_(std::move(report)),
      broker_([this](ClientID client, const std::string& frame) { deliver(client, frame); }),
      faults_(seed),
      faultScheduler_(
          io, faults_,
          {[this] { applyActiveFaults(); }, [this] { flushDelayed(); },
           [this](std::optional<int32_t> connectionID) { closeConnections(connectionID); }}) {
    listen();
}

Server::~Server() {
    for (const auto& [client, connection] : connections_) {
        connection->close();
    }
}

void Server::listen() {
    acceptor_ = tcp::acceptor(io_, endpoint_);
    endpoint_ = acceptor_.local_endpoint();
    accept();
}

// Another program may have taken the port.
void Server::listenAgain() try { listen(); } catch (const std::system_error& error) {
    report_(std::string("not listening: ") + error.code().message());
    acceptPause_.arm(kAcceptPause);
}

void Server::accept() {
    acceptor_.async_accept([this](const asio::error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (error) {
            report_("cannot accept a connection: " + error.message());
            acceptPause_.arm(kAcceptPause);
            return;
        }
        addConnection(std::move(socket));
        if (acceptor_.is_open()) {
            accept();
        }
    });
}

void Server::acceptAgain() {
    if (acceptor_.is_open()) {
        accept();
    } else if (!faults_.refusesConnections()) {
        listenAgain();
    }
}

void Server::addConnection(tcp::socket socket) {
    const ClientID client = ++lastClient_;
    broker_.addClient(client);
    faults_.addConnection(client);
    const auto connection = std::make_shared<Connection>(std::move(socket));
    connections_.emplace(client, connection);
    report_(clientName(client) + " connected");
    connection->setReading(faults_.readsFrom(std::nullopt));
    connection->start(
        {.onReceived = [this, client](Payload payload) { receive(client, std::move(payload)); },
         .onDue = [this, client](Payload payload) { route(client, std::move(payload)); },
         .onDisconnected =
             [this, client](const std::string& reason) { removeConnection(client, reason); },
         .onFramingError =
             [this, client] {
                 report_(clientName(client) + " sent a frame with a wrong terminator, dropped");
             }});
}

void Server::receive(ClientID client, Payload payload) {
    const size_t size = payload->size() - 1;  // without the NUL that the parser appends
    const Delivery delivery = applyFaults(Direction::from, client, {payload->data(), size});
    if (delivery.dropped) {
        return;
    }
    if (delivery.corruptedBytes > 0) {
        faults_.corruptBytes({payload->data(), size}, delivery.corruptedBytes);
    }
    // Keeps the connection alive: routing the message may remove it.
    const std::shared_ptr<Connection> connection = connections_.at(client);
    connection->enqueueReceived(std::move(payload), delivery.delay);
    if (!faults_.isIdle()) {
        // The message may have been the login that tells which client this is.
        connection->setReading(faults_.readsFrom(broker_.connectionID(client)));
    }
}

void Server::route(ClientID client, Payload payload) {
    if (!broker_.accept(client, std::move(payload), Broker::Clock::now())) {
        report_(clientName(client) + " sent an invalid message");
    }
    scheduleTimeout();
}

void Server::deliver(ClientID client, const std::string& frame) {
    const auto found = connections_.find(client);
    if (found == connections_.end()) {
        return;
    }
    // Keeps the connection alive: a client that cannot take the frame is removed.
    const std::shared_ptr<Connection> connection = found->second;
    const Delivery delivery = applyFaults(Direction::to, client, frame);
    if (delivery.dropped) {
        return;
    }
    if (delivery.corruptedBytes == 0) {
        connection->send(frame, delivery);
        return;
    }
    std::string corrupted = frame;
    faults_.corruptBytes(corrupted, delivery.corruptedBytes);
    connection->send(corrupted, delivery);
}

Delivery Server::applyFaults(Direction direction, ClientID client, std::string_view message) {
    if (faults_.isIdle()) {
        return {};
    }
    return faults_.apply({direction, client, broker_.connectionID(client), message});
}

void Server::applyActiveFaults() {
    if (faults_.refusesConnections()) {
        acceptor_.close();
    } else if (!acceptor_.is_open()) {
        listenAgain();
    }
    for (const auto& [client, connection] : connections_) {
        connection->setReading(faults_.readsFrom(broker_.connectionID(client)));
    }
}

// A copy, because closing or flushing one connection may remove others.
std::vector<std::shared_ptr<Connection>> Server::findConnections(
    std::optional<int32_t> connectionID) const {
    std::vector<std::shared_ptr<Connection>> found;
    for (const auto& [client, connection] : connections_) {
        if (!connectionID || broker_.connectionID(client) == connectionID) {
            found.push_back(connection);
        }
    }
    return found;
}

void Server::closeConnections(std::optional<int32_t> connectionID) {
    for (const auto& connection : findConnections(connectionID)) {
        connection->disconnect("closed");
    }
}

void Server::flushDelayed() {
    for (const auto& connection : findConnections(std::nullopt)) {
        connection->flushDelayed();
    }
}

void Server::removeConnection(ClientID client, const std::string& reason) {
    report_(clientName(client) + " disconnected: " + reason);
    broker_.removeClient(client);
    connections_.erase(client);
}

void Server::scheduleTimeout() {
    const auto timeout = broker_.nextTimeout();
    if (timeout && !timeoutTimer_.armed()) {
        timeoutTimer_.arm(*timeout - Broker::Clock::now());
    }
}

void Server::answerTimedOut() {
    broker_.answerTimedOut(Broker::Clock::now());
    scheduleTimeout();
}

}  // namespace pallbus::broker
