#include "switchboard/client_link.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>

#include <utility>

#include <asio/buffer.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

namespace pallbus {

namespace {

// How soon to look whether a segment has left.
constexpr std::chrono::milliseconds kSegmentPause{1};

void empty(std::string& buffer) {
    if (buffer.capacity() > Outbox::kKeptCapacity) {
        std::string().swap(buffer);
    }
    buffer.clear();
}

}  // namespace

ClientLink::ClientLink(asio::ip::tcp::socket socket)
    : socket_(std::move(socket)),
      inboxTimer_(socket_.get_executor()),
      outboxTimer_(socket_.get_executor()) {
    // Without it an answer waits for the acknowledgement of the one before.
    asio::error_code ignored;
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
}

void ClientLink::start(OnPayload onArrived, OnPayload onDue, OnLost onLost) {
    onDue_ = std::move(onDue);
    onLost_ = std::move(onLost);
    parser_.setOnMessage([this, onArrived = std::move(onArrived)](Payload payload) {
        if (socket_.is_open()) {
            onArrived(std::move(payload));
        }
    });
    takeIn();
}

void ClientLink::setReading(bool reading) {
    wantsToRead_ = reading;
    takeIn();
}

// Goes on with reading where it stopped, if it may.
void ClientLink::takeIn() {
    if (reading_ || !socket_.is_open() || !mayRead()) {
        return;
    }
    reading_ = true;
    if (const size_t size = std::exchange(arrived_, 0); size > 0) {
        parser_.feed(chunk_.data(), size);
    }
    reading_ = false;
    if (socket_.is_open() && mayRead()) {
        read();
    }
}

void ClientLink::read() {
    reading_ = true;
    socket_.async_read_some(asio::buffer(chunk_), [self = shared_from_this()](
                                                      const asio::error_code& error, size_t size) {
        self->reading_ = false;
        if (!self->socket_.is_open()) {
            return;
        }
        if (error) {
            self->lose(error.message());
            return;
        }
        self->arrived_ = size;
        self->takeIn();
    });
}

void ClientLink::hold(Payload payload, std::chrono::milliseconds delay) {
    if (inbox_.isEmpty() && delay.count() == 0) {
        onDue_(std::move(payload));
        return;
    }
    const bool first = inbox_.isEmpty();
    inbox_.push(std::move(payload), Clock::now() + delay);
    if (first) {
        handOnDue();
    }
}

void ClientLink::handOnDue() {
    while (socket_.is_open()) {
        Payload payload = inbox_.take(Clock::now());
        if (!payload) {
            break;
        }
        onDue_(std::move(payload));
    }
    if (const auto due = inbox_.nextDue(); due && socket_.is_open()) {
        inboxTimer_.expires_at(*due);
        inboxTimer_.async_wait([self = shared_from_this()](const asio::error_code& error) {
            if (!error) {
                self->handOnDue();
            }
        });
    }
    takeIn();
}

void ClientLink::hurry() {
    inbox_.hurry();
    handOnDue();
    outbox_.hurry();
    write();
}

void ClientLink::send(const std::string& frame, const Fate& fate) {
    if (!socket_.is_open()) {
        return;
    }
    if (inFlight_.size() + outbox_.size() > kMostUnreadBytes) {
        lose("leaves too much unread");
        return;
    }
    outbox_.push(frame, fate, Clock::now());
    if (inFlight_.empty() && !writeAhead_) {
        // Not at once: what the rest of the received chunk brings for this client comes with it.
        writeAhead_ = true;
        asio::post(socket_.get_executor(), [self = shared_from_this()] {
            self->writeAhead_ = false;
            self->write();
        });
    }
}

// Unless a write is under way, which goes on with the rest when it is done.
void ClientLink::write() {
    if (!socket_.is_open() || !inFlight_.empty()) {
        return;
    }
    if (outbox_.isCutOff()) {
        lose("cut off in mid-frame");
        return;
    }
    if (outbox_.isSplitNext() && hasUnsentBytes()) {
        writeAt(Clock::now() + kSegmentPause);
    } else if (outbox_.take(inFlight_, Clock::now())) {
        asio::async_write(socket_, asio::buffer(inFlight_),
                          [self = shared_from_this()](const asio::error_code& error, size_t) {
                              empty(self->inFlight_);
                              if (!self->socket_.is_open()) {
                                  return;
                              }
                              if (error) {
                                  self->lose(error.message());
                              } else {
                                  self->write();
                              }
                          });
    } else if (const auto due = outbox_.nextDue()) {
        writeAt(*due);
    }
}

void ClientLink::writeAt(Clock::time_point time) {
    outboxTimer_.expires_at(time);
    outboxTimer_.async_wait([self = shared_from_this()](const asio::error_code& error) {
        if (!error) {
            self->write();
        }
    });
}

// In the kernel (tcp(7), SIOCOUTQNSD is of linux/sockios.h): it waits for acknowledgements of what
// went before, and would put more bytes into the same segment.
bool ClientLink::hasUnsentBytes() {
    int unsent = 0;
    return ::ioctl(socket_.native_handle(), SIOCOUTQNSD, &unsent) == 0 && unsent > 0;
}

void ClientLink::lose(const std::string& reason) {
    close();
    onLost_(reason);
}

void ClientLink::close() {
    asio::error_code ignored;
    socket_.close(ignored);
    inboxTimer_.cancel();
    outboxTimer_.cancel();
}

}  // namespace pallbus
