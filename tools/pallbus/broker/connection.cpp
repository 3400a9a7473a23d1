// Reading alternates with parsing: one chunk is read, parsed, and only then the next read starts,
// if reading is enabled and not too much is delayed. Writing has one write in flight at a time; its
// completion takes the next segment from the send queue. A fragmented message waits between two
// bytes until the kernel has sent the first, because the kernel would merge them otherwise.

#include "pallbus/broker/connection.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <utility>

#include <asio/buffer.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

namespace pallbus::broker {

namespace {

// How soon to check again whether the kernel has sent a segment.
constexpr std::chrono::milliseconds kSegmentPause{1};

void clearBuffer(std::string& buffer) {
    if (buffer.capacity() > SendQueue::kKeptCapacity) {
        std::string().swap(buffer);
    }
    buffer.clear();
}

}  // namespace

Connection::Connection(asio::ip::tcp::socket socket)
    : socket_(std::move(socket)),
      receiveTimer_(socket_.get_executor()),
      sendTimer_(socket_.get_executor()) {
    // Without it a response waits for the acknowledgement of the previous one.
    asio::error_code ignored;
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
}

void Connection::start(Callbacks callbacks) {
    callbacks_ = std::move(callbacks);
    parser_.setOnMessage([this](Payload payload) {
        if (socket_.is_open()) {
            callbacks_.onReceived(std::move(payload));
        }
    });
    parser_.setOnFramingError([this](std::string_view) { callbacks_.onFramingError(); });
    resumeReading();
}

void Connection::setReading(bool enabled) {
    readingEnabled_ = enabled;
    resumeReading();
}

void Connection::resumeReading() {
    if (reading_ || !socket_.is_open() || !mayRead()) {
        return;
    }
    reading_ = true;
    if (const size_t size = std::exchange(unparsed_, 0); size > 0) {
        parser_.feed(chunk_.data(), size);
    }
    reading_ = false;
    if (socket_.is_open() && mayRead()) {
        read();
    }
}

void Connection::read() {
    reading_ = true;
    socket_.async_read_some(asio::buffer(chunk_), [self = shared_from_this()](
                                                      const asio::error_code& error, size_t size) {
        self->reading_ = false;
        if (!self->socket_.is_open()) {
            return;
        }
        if (error) {
            self->disconnect(error.message());
            return;
        }
        self->unparsed_ = size;
        self->resumeReading();
    });
}

void Connection::enqueueReceived(Payload payload, std::chrono::milliseconds delay) {
    if (receiveQueue_.isEmpty() && delay.count() == 0) {
        callbacks_.onDue(std::move(payload));
        return;
    }
    const bool first = receiveQueue_.isEmpty();
    receiveQueue_.push(std::move(payload), Clock::now() + delay);
    if (first) {
        passOnDue();
    }
}

void Connection::passOnDue() {
    while (socket_.is_open()) {
        Payload payload = receiveQueue_.take(Clock::now());
        if (!payload) {
            break;
        }
        callbacks_.onDue(std::move(payload));
    }
    if (const auto due = receiveQueue_.nextDue(); due && socket_.is_open()) {
        receiveTimer_.expires_at(*due);
        receiveTimer_.async_wait([self = shared_from_this()](const asio::error_code& error) {
            if (!error) {
                self->passOnDue();
            }
        });
    }
    resumeReading();
}

void Connection::flushDelayed() {
    receiveQueue_.flushDelayed();
    passOnDue();
    sendQueue_.flushDelayed();
    write();
}

void Connection::send(const std::string& frame, const faults::Delivery& delivery) {
    if (!socket_.is_open()) {
        return;
    }
    if (unsentBytes() > kMaxUnreadBytes) {
        disconnect("leaves too much unread");
        return;
    }
    sendQueue_.push(frame, delivery, Clock::now());
    if (inFlight_.empty() && !writeScheduled_) {
        // Not at once, so that further frames from the same received chunk share the segment.
        writeScheduled_ = true;
        asio::post(socket_.get_executor(), [self = shared_from_this()] {
            self->writeScheduled_ = false;
            self->write();
        });
    }
}

// A write in flight continues with the next segment on its own.
void Connection::write() {
    if (!socket_.is_open() || !inFlight_.empty()) {
        return;
    }
    if (sendQueue_.isTruncated()) {
        disconnect("truncated a message");
        return;
    }
    if (sendQueue_.isFragmentNext() && hasUnsentBytesInKernel()) {
        writeAt(Clock::now() + kSegmentPause);
    } else if (sendQueue_.take(inFlight_, Clock::now())) {
        asio::async_write(socket_, asio::buffer(inFlight_),
                          [self = shared_from_this()](const asio::error_code& error, size_t) {
                              clearBuffer(self->inFlight_);
                              if (!self->socket_.is_open()) {
                                  return;
                              }
                              if (error) {
                                  self->disconnect(error.message());
                                  return;
                              }
                              self->write();
                              if (self->socket_.is_open()) {
                                  self->callbacks_.onSent();
                              }
                          });
    } else if (const auto due = sendQueue_.nextDue()) {
        writeAt(*due);
    }
}

void Connection::writeAt(Clock::time_point time) {
    sendTimer_.expires_at(time);
    sendTimer_.async_wait([self = shared_from_this()](const asio::error_code& error) {
        if (!error) {
            self->write();
        }
    });
}

// The kernel waits for acknowledgements of earlier bytes, and would put more bytes into the same
// segment (tcp(7); SIOCOUTQNSD is from linux/sockios.h).
bool Connection::hasUnsentBytesInKernel() {
    int unsent = 0;
    return ::ioctl(socket_.native_handle(), SIOCOUTQNSD, &unsent) == 0 && unsent > 0;
}

void Connection::disconnect(const std::string& reason) {
    close();
    callbacks_.onDisconnected(reason);
}

void Connection::close() {
    asio::error_code ignored;
    socket_.close(ignored);
    receiveTimer_.cancel();
    sendTimer_.cancel();
}

}  // namespace pallbus::broker
