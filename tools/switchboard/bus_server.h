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
#include <asio/steady_timer.hpp>

#include "switchboard/client_link.h"
#include "switchboard/disturber.h"
#include "switchboard/switchboard.h"
#include "trouble/trouble.h"

namespace pallbus {

// The stand-in bus on its port of 127.0.0.1: as many clients as there are descriptors, joined by a
// switchboard, with trouble between. Destroyed before the loop is; thread of the loop.
class BusServer {
  public:
    // Gets one line for each client that comes, goes or sends what is no message.
    using Report = std::function<void(const std::string& line)>;

    // Listens from now on; port 0 takes any that is free. `seed` is that of the trouble. Throws
    // asio::system_error when it cannot.
    BusServer(asio::io_context& io, uint16_t port, uint64_t seed, Report report);
    ~BusServer();
    BusServer(const BusServer&) = delete;
    BusServer& operator=(const BusServer&) = delete;

    // Lets somebody see what goes over the bus, from now on.
    void setWitness(Switchboard::Witness witness) { board_.setWitness(std::move(witness)); }

    uint16_t port() const { return endpoint_.port(); }
    // What goes wrong here, and when.
    Disturber& disturber() { return disturber_; }

  private:
    using Payload = ClientLink::Payload;

    void listen();
    void listenAgain();
    void accept();
    void acceptLater();
    void welcome(asio::ip::tcp::socket socket);
    void arrive(ClientID client, Payload payload);
    void handle(ClientID client, Payload payload);
    void deliver(ClientID client, const std::string& frame);
    void lose(ClientID client, const std::string& reason);
    void waitForQuestions();

    void obeyTrouble();
    std::vector<std::shared_ptr<ClientLink>> linksOf(std::optional<int32_t> connectionID) const;
    void closeAll(std::optional<int32_t> connectionID);
    void hurry();
    Fate fateOf(Direction direction, ClientID client, std::string_view message);

    asio::io_context& io_;
    asio::ip::tcp::endpoint endpoint_;
    asio::ip::tcp::acceptor acceptor_;
    asio::steady_timer acceptPause_;
    asio::steady_timer questionTimer_;
    bool waitingForQuestions_ = false;
    Report report_;
    ClientID lastClient_ = 0;
    std::map<ClientID, std::shared_ptr<ClientLink>> links_;
    Switchboard board_;
    Trouble trouble_;
    Disturber disturber_;
};

}  // namespace pallbus
