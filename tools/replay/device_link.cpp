#include "replay/device_link.h"

#include <utility>

#include <asio/buffer.hpp>
#include <asio/write.hpp>

#include "bus/netstring.h"

namespace replay {

DeviceLink::DeviceLink(asio::ip::tcp::socket socket) : socket_(std::move(socket)) {
    asio::error_code ignored;
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
}

void DeviceLink::start(Callbacks callbacks) {
    callbacks_ = std::move(callbacks);
    parser_.setOnMessage([this](std::unique_ptr<std::vector<char>> payload) {
        if (socket_.is_open()) {
            // Without the NUL that the parser puts behind it.
            callbacks_.onPayload(std::string(payload->data(), payload->size() - 1));
        }
    });
    read();
}

void DeviceLink::read() {
    socket_.async_read_some(asio::buffer(chunk_), [self = shared_from_this()](
                                                      const asio::error_code& error, size_t size) {
        if (error) {
            self->lose();
            return;
        }
        self->parser_.feed(self->chunk_.data(), size);
        if (self->socket_.is_open()) {
            self->read();
        }
    });
}

void DeviceLink::send(const std::string& payload) {
    waiting_ += lumo::encodeNetString(payload);
    if (inFlight_.empty()) {
        write();
    }
}

void DeviceLink::write() {
    inFlight_.swap(waiting_);
    asio::async_write(socket_, asio::buffer(inFlight_),
                      [self = shared_from_this()](const asio::error_code& error, size_t) {
                          self->inFlight_.clear();
                          if (error) {
                              self->lose();
                              return;
                          }
                          if (!self->waiting_.empty()) {
                              self->write();
                          }
                          if (self->socket_.is_open()) {
                              self->callbacks_.onSent();
                          }
                      });
}

void DeviceLink::lose() {
    if (socket_.is_open()) {
        close();
        callbacks_.onLost();
    }
}

void DeviceLink::close() {
    asio::error_code ignored;
    socket_.close(ignored);
}

}  // namespace replay
