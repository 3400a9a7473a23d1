#include "switchboard/client_link.h"

#include <utility>

#include <asio/buffer.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

namespace pallbus {

namespace {

// A buffer that once held a large frame is not kept for small ones.
constexpr size_t kKeptCapacity = size_t{1024} * 1024;

void empty(std::string& buffer) {
    if (buffer.capacity() > kKeptCapacity) {
        std::string().swap(buffer);
    }
    buffer.clear();
}

}  // namespace

ClientLink::ClientLink(asio::ip::tcp::socket socket) : socket_(std::move(socket)) {
    // Without it an answer waits for the acknowledgement of the one before.
    asio::error_code ignored;
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
}

void ClientLink::start(OnPayload onPayload, OnLost onLost) {
    onLost_ = std::move(onLost);
    parser_.setOnMessage(
        [this, onPayload = std::move(onPayload)](std::unique_ptr<std::vector<char>> payload) {
            if (socket_.is_open()) {
                onPayload(std::move(payload));
            }
        });
    read();
}

void ClientLink::read() {
    socket_.async_read_some(asio::buffer(chunk_), [self = shared_from_this()](
                                                      const asio::error_code& error, size_t size) {
        if (!self->socket_.is_open()) {
            return;
        }
        if (error) {
            self->lose(error.message());
            return;
        }
        self->parser_.feed(self->chunk_.data(), size);
        if (self->socket_.is_open()) {
            self->read();
        }
    });
}

void ClientLink::send(const std::string& frame) {
    if (!socket_.is_open()) {
        return;
    }
    if (inFlight_.size() + waiting_.size() + frame.size() > kMostWaitingBytes) {
        lose("leaves too much unread");
        return;
    }
    waiting_ += frame;
    if (inFlight_.empty() && !writeAhead_) {
        // Not at once: what the rest of the received chunk brings for this client comes with it.
        writeAhead_ = true;
        asio::post(socket_.get_executor(), [self = shared_from_this()] {
            self->writeAhead_ = false;
            if (self->socket_.is_open()) {
                self->write();
            }
        });
    }
}

void ClientLink::write() {
    inFlight_.swap(waiting_);
    asio::async_write(socket_, asio::buffer(inFlight_),
                      [self = shared_from_this()](const asio::error_code& error, size_t) {
                          empty(self->inFlight_);
                          if (!self->socket_.is_open()) {
                              return;
                          }
                          if (error) {
                              self->lose(error.message());
                          } else if (!self->waiting_.empty()) {
                              self->write();
                          }
                      });
}

void ClientLink::lose(const std::string& reason) {
    close();
    onLost_(reason);
}

void ClientLink::close() {
    asio::error_code ignored;
    socket_.close(ignored);
}

}  // namespace pallbus
