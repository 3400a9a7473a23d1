#include "switchboard/control.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>

#include "program/timed_script.h"
#include "switchboard/passed_file.h"

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
            instruction_ = {};
            read();
        }
    });
}

// Also after a failed attempt, so that one for want of descriptors is not made again at once.
void ControlSocket::endLater() {
    patience_.expires_after(kPatience);
    patience_.async_wait([this, call = call_](const asio::error_code& error) {
        if (!error && call == call_) {
            next();
        }
    });
}

void ControlSocket::next() {
    ++call_;
    asio::error_code ignored;
    caller_.close(ignored);
    patience_.cancel();
    accept();
}

void ControlSocket::read() {
    caller_.async_wait(stream_protocol::socket::wait_read,
                       [this, call = call_](const asio::error_code& error) {
                           if (!error && call == call_) {
                               readOn();
                           }
                       });
}

void ControlSocket::readOn() {
    const ssize_t size =
        receiveWithFile(caller_.native_handle(), instruction_.text, instruction_.file);
    if (size == 0) {
        patience_.cancel();  // from here on it is the bus that takes its time
        handle_(std::move(instruction_), [this, call = call_](const Reply& reply) {
            if (call == call_) {
                answer(reply);
            }
        });
    } else if (instruction_.text.size() <= kLongestText && (size > 0 || errno == EAGAIN)) {
        read();
    } else {
        next();
    }
}

void ControlSocket::answer(const Reply& reply) {
    endLater();
    reply_ = std::string(reply.done ? kDone : kNotDone) + reply.text;
    asio::async_write(caller_, asio::buffer(reply_),
                      [this, call = call_](const asio::error_code&, size_t) {
                          if (call == call_) {
                              next();
                          }
                      });
}

namespace {

// All of the text, and the file with the first of it.
void send(stream_protocol::socket& socket, const std::string& text, const UniqueFile& file) {
    size_t sent = 0;
    if (file) {
        const ssize_t size = sendWithFile(socket.native_handle(), text, file);
        sent = static_cast<size_t>(std::max<ssize_t>(size, 0));
    }
    asio::error_code error;
    asio::write(socket, asio::buffer(text) + sent, error);
    socket.shutdown(stream_protocol::socket::shutdown_send, error);
}

}  // namespace

std::optional<Reply> tell(uint16_t port, const std::string& text, const UniqueFile& file) {
    asio::io_context io;
    stream_protocol::socket socket(io);
    asio::error_code error;
    socket.connect(nameOf(port), error);
    if (!error) {
        send(socket, text, file);
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
