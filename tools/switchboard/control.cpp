#include "switchboard/control.h"

#include <chrono>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>

#include "program/timed_script.h"

namespace pallbus {

namespace {

using asio::local::stream_protocol;

constexpr std::chrono::seconds kPatience{2};
constexpr size_t kLongestText = script::kMostText + 4096;
constexpr std::string_view kDone = "ok\n";
constexpr std::string_view kNotDone = "no\n";

stream_protocol::endpoint nameOf(uint16_t port) {
    std::string name(1, '\0');
    name.append("pallbus.").append(std::to_string(port));
    return {name};
}

}  // namespace

ControlSocket::ControlSocket(asio::io_context& io, uint16_t port, Handle handle)
    : acceptor_(io, nameOf(port), false), caller_(io), patience_(io), handle_(std::move(handle)) {
    accept();
}

void ControlSocket::accept() {
    acceptor_.async_accept(caller_, [this](const asio::error_code& error) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        endLater();
        if (!error) {
            read();
        }
    });
}

// Also after a failed attempt, so that one for want of descriptors is not made again at once.
void ControlSocket::endLater() {
    patience_.expires_after(kPatience);
    patience_.async_wait([this](const asio::error_code& error) {
        if (!error) {
            next();
        }
    });
}

void ControlSocket::next() {
    asio::error_code ignored;
    caller_.close(ignored);
    patience_.cancel();
    accept();
}

void ControlSocket::read() {
    text_.clear();
    asio::async_read(caller_, asio::dynamic_buffer(text_, kLongestText),
                     [this](const asio::error_code& error, size_t) {
                         if (error == asio::error::eof) {
                             answer();
                         } else if (error != asio::error::operation_aborted) {
                             next();  // too long, or the caller has gone
                         }
                     });
}

void ControlSocket::answer() {
    const Reply reply = handle_(text_);
    reply_ = std::string(reply.done ? kDone : kNotDone) + reply.text;
    asio::async_write(caller_, asio::buffer(reply_), [this](const asio::error_code& error, size_t) {
        if (error != asio::error::operation_aborted) {
            next();
        }
    });
}

std::optional<Reply> tell(uint16_t port, const std::string& text) {
    asio::io_context io;
    stream_protocol::socket socket(io);
    asio::error_code error;
    socket.connect(nameOf(port), error);
    if (!error) {
        asio::write(socket, asio::buffer(text), error);
        socket.shutdown(stream_protocol::socket::shutdown_send, error);
    }
    std::string answer;
    asio::read(socket, asio::dynamic_buffer(answer), error);
    for (const std::string_view status : {kDone, kNotDone}) {
        if (answer.starts_with(status)) {
            return Reply{status == kDone, answer.substr(status.size())};
        }
    }
    return std::nullopt;
}

}  // namespace pallbus
