#include "switchboard/bus_server.h"

#include <chrono>
#include <utility>

namespace pallbus {

namespace {

using asio::ip::tcp;

// How long to let clients go when there is no descriptor for another one.
constexpr std::chrono::milliseconds kAcceptPause{100};

std::string nameOf(ClientID client) {
    return "client " + std::to_string(client);
}

}  // namespace

BusServer::BusServer(asio::io_context& io, uint16_t port, Report report)
    : acceptor_(io, tcp::endpoint(asio::ip::address_v4::loopback(), port)),
      acceptPause_(io),
      questionTimer_(io),
      report_(std::move(report)),
      board_([this](ClientID client, const std::string& frame) { deliver(client, frame); }) {
    accept();
}

BusServer::~BusServer() {
    for (const auto& [client, link] : links_) {
        link->close();
    }
}

void BusServer::accept() {
    acceptor_.async_accept([this](const asio::error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (error) {
            report_("no connection accepted: " + error.message());
            acceptLater();
            return;
        }
        welcome(std::move(socket));
        accept();
    });
}

void BusServer::acceptLater() {
    acceptPause_.expires_after(kAcceptPause);
    acceptPause_.async_wait([this](const asio::error_code& error) {
        if (!error) {
            accept();
        }
    });
}

void BusServer::welcome(tcp::socket socket) {
    const ClientID client = ++lastClient_;
    board_.join(client);
    const auto link = std::make_shared<ClientLink>(std::move(socket));
    links_.emplace(client, link);
    report_(nameOf(client) + " connected");
    link->start(
        [this, client](std::unique_ptr<std::vector<char>> payload) {
            handle(client, std::move(payload));
        },
        [this, client](const std::string& reason) { lose(client, reason); });
}

void BusServer::handle(ClientID client, std::unique_ptr<std::vector<char>> payload) {
    if (!board_.accept(client, std::move(payload), Switchboard::Clock::now())) {
        report_(nameOf(client) + " sent what is no message");
    }
    waitForQuestions();
}

void BusServer::deliver(ClientID client, const std::string& frame) {
    if (const auto found = links_.find(client); found != links_.end()) {
        // Held, because a client that cannot take the frame is removed meanwhile.
        const std::shared_ptr<ClientLink> link = found->second;
        link->send(frame);
    }
}

void BusServer::lose(ClientID client, const std::string& reason) {
    report_(nameOf(client) + " gone: " + reason);
    board_.leave(client);
    links_.erase(client);
}

void BusServer::waitForQuestions() {
    const auto due = board_.nextDue();
    if (waitingForQuestions_ || !due) {
        return;
    }
    waitingForQuestions_ = true;
    questionTimer_.expires_at(*due);
    questionTimer_.async_wait([this](const asio::error_code& error) {
        if (!error) {
            waitingForQuestions_ = false;
            board_.answerDue(Switchboard::Clock::now());
            waitForQuestions();
        }
    });
}

}  // namespace pallbus
