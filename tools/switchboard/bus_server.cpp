#include "switchboard/bus_server.h"

#include <chrono>
#include <system_error>
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

BusServer::BusServer(asio::io_context& io, uint16_t port, uint64_t seed, Report report)
    : io_(io),
      endpoint_(asio::ip::address_v4::loopback(), port),
      acceptor_(io),
      acceptPause_(io),
      questionTimer_(io),
      report_(std::move(report)),
      board_([this](ClientID client, const std::string& frame) { deliver(client, frame); }),
      trouble_(seed),
      disturber_(io, trouble_,
                 {[this] { obeyTrouble(); }, [this] { hurry(); },
                  [this](std::optional<int32_t> connectionID) { closeAll(connectionID); }}) {
    listen();
}

BusServer::~BusServer() {
    for (const auto& [client, link] : links_) {
        link->close();
    }
}

void BusServer::listen() {
    acceptor_ = tcp::acceptor(io_, endpoint_);
    endpoint_ = acceptor_.local_endpoint();
    accept();
}

// Somebody else may have taken the port meanwhile.
void BusServer::listenAgain() try { listen(); } catch (const std::system_error& error) {
    report_(std::string("not listening: ") + error.code().message());
    acceptLater();
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
        if (acceptor_.is_open()) {
            accept();
        }
    });
}

void BusServer::acceptLater() {
    acceptPause_.expires_after(kAcceptPause);
    acceptPause_.async_wait([this](const asio::error_code& error) {
        if (error || trouble_.refuses()) {
            return;
        }
        if (acceptor_.is_open()) {
            accept();
        } else {
            listenAgain();
        }
    });
}

void BusServer::welcome(tcp::socket socket) {
    const ClientID client = ++lastClient_;
    board_.join(client);
    trouble_.join(client);
    const auto link = std::make_shared<ClientLink>(std::move(socket));
    links_.emplace(client, link);
    report_(nameOf(client) + " connected");
    link->setReading(trouble_.reads(std::nullopt));
    link->start([this, client](Payload payload) { arrive(client, std::move(payload)); },
                [this, client](Payload payload) { handle(client, std::move(payload)); },
                [this, client](const std::string& reason) { lose(client, reason); });
}

void BusServer::arrive(ClientID client, Payload payload) {
    const size_t size = payload->size() - 1;  // without the terminator of the parser
    const Fate fate = fateOf(Direction::from, client, {payload->data(), size});
    if (fate.lost) {
        return;
    }
    if (fate.corrupted > 0) {
        trouble_.corrupt({payload->data(), size}, fate.corrupted);
    }
    // Held, because the message may lead to the end of its connection.
    const std::shared_ptr<ClientLink> link = links_.at(client);
    link->hold(std::move(payload), fate.delay);
    if (!trouble_.isCalm()) {
        // Its login may have said who it is.
        link->setReading(trouble_.reads(board_.connectionIDOf(client)));
    }
}

void BusServer::handle(ClientID client, Payload payload) {
    if (!board_.accept(client, std::move(payload), Switchboard::Clock::now())) {
        report_(nameOf(client) + " sent what is no message");
    }
    waitForQuestions();
}

void BusServer::deliver(ClientID client, const std::string& frame) {
    const auto found = links_.find(client);
    if (found == links_.end()) {
        return;
    }
    // Held, because a client that cannot take the frame is removed meanwhile.
    const std::shared_ptr<ClientLink> link = found->second;
    const Fate fate = fateOf(Direction::to, client, frame);
    if (fate.lost) {
        return;
    }
    if (fate.corrupted == 0) {
        link->send(frame, fate);
        return;
    }
    std::string damaged = frame;
    trouble_.corrupt(damaged, fate.corrupted);
    link->send(damaged, fate);
}

Fate BusServer::fateOf(Direction direction, ClientID client, std::string_view message) {
    if (trouble_.isCalm()) {
        return {};
    }
    return trouble_.meet({direction, client, board_.connectionIDOf(client), message});
}

// The acceptor, and who is read from. Messages are asked about one by one.
void BusServer::obeyTrouble() {
    if (trouble_.refuses()) {
        acceptor_.close();
    } else if (!acceptor_.is_open()) {
        listenAgain();
    }
    for (const auto& [client, link] : links_) {
        link->setReading(trouble_.reads(board_.connectionIDOf(client)));
    }
}

// What closes or goes on may lead to the loss of others, so all are gathered first.
std::vector<std::shared_ptr<ClientLink>> BusServer::linksOf(
    std::optional<int32_t> connectionID) const {
    std::vector<std::shared_ptr<ClientLink>> links;
    for (const auto& [client, link] : links_) {
        if (!connectionID || board_.connectionIDOf(client) == connectionID) {
            links.push_back(link);
        }
    }
    return links;
}

void BusServer::closeAll(std::optional<int32_t> connectionID) {
    for (const auto& link : linksOf(connectionID)) {
        link->lose("closed");
    }
}

void BusServer::hurry() {
    for (const auto& link : linksOf(std::nullopt)) {
        link->hurry();
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
