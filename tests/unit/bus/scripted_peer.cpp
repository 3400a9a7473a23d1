#include "scripted_peer.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <gtest/gtest.h>

namespace {

using asio::ip::tcp;

constexpr int kPatience = 20'000;  // milliseconds

void waitFor(int descriptor, short events) {
    pollfd waited{descriptor, events, 0};
    EXPECT_EQ(::poll(&waited, 1, kPatience), 1);
}

}  // namespace

std::vector<std::string> PeerSession::payloads() const {
    std::vector<std::string> found;
    std::size_t place = 0;
    while (place < received_.size()) {
        const std::size_t colon = received_.find(':', place);
        if (colon == std::string::npos) {
            break;
        }
        const std::size_t size = std::stoul(received_.substr(place, colon - place));
        if (colon + 1 + size >= received_.size()) {
            break;
        }
        EXPECT_EQ(received_[colon + 1 + size], ';') << received_.substr(place);
        found.push_back(received_.substr(colon + 1, size));
        place = colon + size + 2;
    }
    return found;
}

void PeerSession::send(const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        waitFor(socket_.native_handle(), POLLOUT);
        const ssize_t taken =
            ::write(socket_.native_handle(), bytes.data() + sent, bytes.size() - sent);
        if (taken < 0 && errno != EAGAIN) {
            ADD_FAILURE() << "the peer cannot write";
            return;
        }
        sent += taken > 0 ? static_cast<std::size_t>(taken) : 0;
    }
}

void PeerSession::sendFrame(const std::string& payload) {
    send(std::to_string(payload.size()) + ":" + payload + ";");
}

void PeerSession::resumeReading() {
    paused_ = false;
    waitForBytes();
}

void PeerSession::close() {
    socket_.close();
}

void PeerSession::reset() {
    socket_.set_option(tcp::socket::linger(true, 0));
    socket_.close();
}

std::string PeerSession::takeNow() {
    const std::size_t before = received_.size();
    waitFor(socket_.native_handle(), POLLIN);
    readBytes();
    return received_.substr(before);
}

void PeerSession::waitForBytes() {
    if (paused_ || ended_) {
        return;
    }
    socket_.async_wait(tcp::socket::wait_read,
                       [self = shared_from_this()](const std::error_code& error) {
                           if (!error && !self->paused_) {
                               self->readBytes();
                               self->waitForBytes();
                           }
                       });
}

void PeerSession::readBytes() {
    std::array<char, 65536> bytes;
    const ssize_t count = ::read(socket_.native_handle(), bytes.data(), bytes.size());
    if (count > 0) {
        received_.append(bytes.data(), static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EAGAIN) {
        ended_ = true;
    }
}

ScriptedPeer::ScriptedPeer(asio::io_service& io) : acceptor_(io) {
    std::signal(SIGPIPE, SIG_IGN);
    bind();
    listen();
}

ScriptedPeer::~ScriptedPeer() {
    for (const auto& session : sessions_) {
        session->close();
    }
}

void ScriptedPeer::stopListening() {
    acceptor_.close();
    bind();
}

void ScriptedPeer::bind() {
    acceptor_.open(tcp::v4());
    acceptor_.set_option(tcp::acceptor::reuse_address(true));
    acceptor_.bind({asio::ip::address_v4::loopback(), static_cast<std::uint16_t>(port_)});
    port_ = acceptor_.local_endpoint().port();
}

void ScriptedPeer::listen() {
    acceptor_.listen();
    accept();
}

void ScriptedPeer::accept() {
    acceptor_.async_accept([this](const std::error_code& error, tcp::socket socket) {
        if (error) {
            return;
        }
        socket.non_blocking(true);
        sessions_.push_back(std::make_shared<PeerSession>(std::move(socket)));
        sessions_.back()->paused_ = acceptPaused_;
        sessions_.back()->waitForBytes();
        accept();
    });
}
